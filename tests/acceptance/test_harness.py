"""What the tests rely on themselves."""

import subprocess
import sys
from pathlib import Path


def test_programs_get_default_signals_although_the_tests_were_started_under_nohup():
    script = ("import signal, subprocess\n"
              "from harness.processes import hand_down_default_signals\n"
              "signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGUSR1])\n"
              "hand_down_default_signals()\n"
              "subprocess.run(['grep', '-E', '^Sig(Ign|Blk)', '/proc/self/status'], check=True)\n")
    result = subprocess.run(["/bin/sh", "-c", 'trap "" HUP INT QUIT TERM; exec "$@"', "sh", sys.executable, "-c", script], text=True,
                            cwd=Path(__file__).parent, capture_output=True, timeout=20, check=True)
    masks = dict(line.split(":\t") for line in result.stdout.splitlines())
    assert {name: int(mask, 16) for name, mask in masks.items()} == {"SigIgn": 0, "SigBlk": 0}
