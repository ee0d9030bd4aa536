"""The simulated phone, a real RFCOMM service of hci1, told what to do line by line."""

import subprocess
import threading

import adapters
from harness.installation import BUILD
from harness.waiting import wait_for

PATIENCE = 60


class Phone:
    def __init__(self, *options):
        self.process = subprocess.Popen(
            [BUILD / "orvane-phone", "--adapter", adapters.PHONE, "--patience", str(PATIENCE), *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.lines = []
        self._answered = 0
        threading.Thread(target=self._read, daemon=True).start()
        assert self._wait_answer("publish") == "ok publish"

    def __enter__(self):
        return self

    def __exit__(self, *details):
        self.process.kill()
        self.process.wait()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def do(self, command):
        """Carries out a command; fails when the phone could not."""
        line = self._try(command)
        assert line.startswith("ok"), line

    def notice_the_end(self):
        """Ends a link that the computer has left without a word, as a phone does that has heard nothing for too long: a newer kernel tells
        nobody when its adapter is switched off."""
        assert self._try("drop") in ("ok drop", "failed drop: there is no link")
        self.do("wait-closed")

    def _try(self, command):
        self.process.stdin.write(command + "\n")
        return self._wait_answer(command.split()[0])

    def _wait_answer(self, name):
        def answer():
            for index in range(self._answered, len(self.lines)):
                if self.lines[index].split(":")[0] in (f"ok {name}", f"failed {name}"):
                    self._answered = index + 1
                    return self.lines[index]
            assert self.process.poll() is None, "the phone has ended"
            return None

        return wait_for(answer, f"the phone's answer to {name}; it said {self.lines[-5:]}", PATIENCE + 10)

    def count(self, line):
        """How often it has said this."""
        return sum(said.startswith(line) for said in self.lines)
