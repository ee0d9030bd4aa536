"""A real PulseAudio server with null sinks, on a socket of its own."""

import os
import signal
import subprocess
import shutil

from .folders import temporary_folder
from .processes import end
from .waiting import wait_for


class SoundServer:
    def __init__(self, *sinks, modules=()):
        self.folder = temporary_folder("orvane-sound-")
        self.address = f"unix:{self.folder}/native"
        self._sinks = sinks
        self._modules = modules
        self.start()

    def start(self):
        modules = [f"module-native-protocol-unix socket={self.folder}/native auth-anonymous=1"]
        modules += [f"module-null-sink sink_name={name} channels={channels}" for name, channels in self._sinks]
        modules += self._modules
        command = ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--disable-shm", "--use-pid-file=no",
                   "--realtime=no", "--high-priority=no"]
        for module in modules:
            command += ["-L", module]
        self.process = subprocess.Popen(
            command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "HOME": str(self.folder), "XDG_RUNTIME_DIR": str(self.folder),
                 "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent",
                 "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"})
        wait_for(lambda: self.ask("info", check=False), "the sound server")

    def ask(self, *arguments, check=True):
        result = subprocess.run(["pactl", "-s", self.address, *arguments], capture_output=True, text=True,
                                env={**os.environ, "HOME": str(self.folder), "LANG": "C.UTF-8",
                                     "XDG_RUNTIME_DIR": str(self.folder)})
        if check:
            assert result.returncode == 0, result.stderr
        return result.stdout if result.returncode == 0 else ""

    def set_output(self, sink, percent):
        self.ask("set-sink-volume", sink, f"{percent}%")

    def set_output_scalar(self, sink, scalar):
        self.ask("set-sink-volume", sink, str(round(scalar * 65536)))

    def set_input(self, sink, percent):
        """Of the source that belongs to the sink."""
        self.ask("set-source-volume", f"{sink}.monitor", f"{percent}%")

    def _percents(self, text):
        """Of all channels."""
        return {int(word.rstrip("%")) for word in text.split() if word.endswith("%")}

    def output(self, sink):
        return self._percents(self.ask("get-sink-volume", sink))

    def input(self, sink):
        return self._percents(self.ask("get-source-volume", f"{sink}.monitor"))

    def stop(self):
        """Leaves it there, but silent to every request."""
        self.process.send_signal(signal.SIGSTOP)

    def go_on(self):
        self.process.send_signal(signal.SIGCONT)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def close(self):
        self.go_on()
        end(self.process, signal.SIGKILL)
        shutil.rmtree(self.folder, ignore_errors=True)
