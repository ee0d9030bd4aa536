"""An adb that a test plays: a shell script that notes when it is run with which arguments, and does what it is told.

It knows one phone, and the tunnels of it. What a command does can be replaced by a piece of shell at any time.
"""

import os

PHONE = "R58M123ABCD"
MODEL = "Galaxy S23"

DEVICES = "devices"
LIST = f"-s {PHONE} reverse --list"
GET_MODEL = f"-s {PHONE} shell getprop ro.product.model"
ADD = f"-s {PHONE} reverse tcp:5555 tcp:5555"

# The time is that since the machine started, which the shell reads without starting another program.
SCRIPT = """#!/bin/sh
cd '{folder}' || exit 1
read -r now rest < /proc/uptime
echo "$now $$ $*" >> log
case "$*" in
    devices) . ./devices ;;
    *'reverse --list') . ./list ;;
    *getprop*) . ./model ;;
    *'reverse --remove tcp:5555') rm -f tunnels ;;
    *'reverse tcp:5555 tcp:5555') echo 'UsbFfs tcp:5555 tcp:5555' > tunnels ;;
esac
"""


class Command:
    """One run of it, as noted."""

    def __init__(self, line):
        now, pid, self.line = line.split(" ", 2)
        self.time = float(now)
        self.pid = int(pid)


class ScriptedAdb:
    def __init__(self, folder, path):
        self.folder = folder
        self.path = path
        folder.mkdir()
        self.put("list", "if [ -e tunnels ]; then cat tunnels; fi")
        self.put("model", f"echo '{MODEL}'")
        self.unplug()
        self.install()

    def put(self, command, shell):
        """Replaces what the command does, between two runs of it."""
        new = self.folder / f"{command}.new"
        new.write_text(shell + "\n")
        new.rename(self.folder / command)

    def list_phones(self, *lines):
        rows = "".join(f"{line}\\n" for line in lines)
        self.put("devices", f"printf 'List of devices attached\\n{rows}\\n'".replace("\t", "\\t"))

    def plug_in(self):
        self.list_phones(f"{PHONE}\tdevice")

    def unplug(self):
        self.list_phones()
        self.lose_tunnel()

    def lose_tunnel(self):
        (self.folder / "tunnels").unlink(missing_ok=True)

    def install(self, mode=0o755):
        self.path.parent.mkdir(parents=True, exist_ok=True)
        new = self.path.with_name("adb.new")
        new.write_text(SCRIPT.format(folder=self.folder))
        new.chmod(mode)
        new.rename(self.path)

    def uninstall(self):
        self.path.unlink()

    @property
    def commands(self):
        """Every run so far, in order."""
        try:
            text = (self.folder / "log").read_text()
        except FileNotFoundError:
            return []
        return [Command(line) for line in text.splitlines()]

    def probes(self):
        """The command lines so far, probe by probe; the last may still go on."""
        probes = []
        for command in self.commands:
            if command.line == DEVICES:
                probes.append([])
            probes[-1].append(command.line)
        return probes

    def running(self):
        """Pids of the runs that have not ended."""
        return [command.pid for command in self.commands if os.path.exists(f"/proc/{command.pid}")]
