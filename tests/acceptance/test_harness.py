"""What the tests rely on themselves."""

import os
import shutil
import signal
import subprocess
import sys
from pathlib import Path

import pytest

from harness.folders import temporary_folder
from harness.menu import TrayMenu
from harness.processes import descendants, end_orphans
from harness.waiting import wait_for

HERE = Path(__file__).parent


def test_programs_get_default_signals_although_the_tests_were_started_under_nohup():
    script = ("import signal, subprocess\n"
              "from harness.processes import hand_down_default_signals\n"
              "signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGUSR1])\n"
              "hand_down_default_signals()\n"
              "subprocess.run(['grep', '-E', '^Sig(Ign|Blk)', '/proc/self/status'], check=True)\n")
    result = subprocess.run(["/bin/sh", "-c", 'trap "" HUP INT QUIT TERM; exec "$@"', "sh", sys.executable, "-c", script], text=True,
                            cwd=HERE, capture_output=True, timeout=20, check=True)
    masks = dict(line.split(":\t") for line in result.stdout.splitlines())
    assert {name: int(mask, 16) for name, mask in masks.items()} == {"SigIgn": 0, "SigBlk": 0}


WAITING_TEST = """
import time
from pathlib import Path

def test_waiting(running):
    Path(__file__).with_name("waits").touch()
    time.sleep(100)
"""


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGINT])
@pytest.mark.parametrize("send", [os.kill, os.killpg])
def test_a_run_that_is_ended_by_a_signal_leaves_nothing_behind(number, send):
    """Sent twice, as timeout does it."""
    folder = temporary_folder("orvane-run-")
    (folder / "tmp").mkdir()
    (folder / "test_waiting.py").write_text(WAITING_TEST)
    before = set(descendants(os.getpid()))
    run = subprocess.Popen([sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", "-p", "conftest", str(folder / "test_waiting.py")],
                           env={**os.environ, "TMPDIR": str(folder / "tmp"), "PYTHONPATH": str(HERE)}, cwd=folder, text=True,
                           stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        wait_for(lambda: (folder / "waits").exists() or run.poll() is not None, "the test to wait")
        send(run.pid, number)
        if number != signal.SIGINT:
            send(run.pid, number)
        said, _ = run.communicate(timeout=30)
        assert run.returncode == pytest.ExitCode.INTERRUPTED, said
        assert set(descendants(os.getpid())) <= before, said
        assert list((folder / "tmp").iterdir()) == [], said
    finally:
        end_orphans(keep=before)
        shutil.rmtree(folder)


class ViewOfOneRow:
    """A menu's row with one below it, disabled for a while, and what the panel says to the program meanwhile."""

    def __init__(self, looks_disabled):
        self._looks_disabled = looks_disabled
        self.said = []

    def is_enabled(self, id):
        self._looks_disabled -= 1
        return self._looks_disabled < 0

    def rows(self, parent):
        return [(parent + 1, {"label": "Row", "children-display": "submenu"})]

    def call(self, method, signature, *arguments):
        assert self._looks_disabled < 0, "a disabled row was opened"
        self.said.append(method)
        return [False]


def test_a_row_that_is_disabled_opens_nothing_until_it_is_enabled():
    view = ViewOfOneRow(looks_disabled=3)
    assert [row.title for row in TrayMenu(view).rows()[0].open()] == ["Row"]
    assert view.said == ["AboutToShow", "Event"]


def test_a_row_that_stays_disabled_is_never_opened(monkeypatch):
    monkeypatch.setattr("harness.menu.wait_for", lambda condition, what: wait_for(condition, what, timeout=0.1))
    view = ViewOfOneRow(looks_disabled=1_000_000)
    with pytest.raises(AssertionError, match="<'Row'> to be enabled"):
        TrayMenu(view).rows()[0].open()
    assert view.said == []
