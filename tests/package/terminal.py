#!/usr/bin/env python3
"""terminal.py: starts the installed program on a terminal, where it prompts: for that it needs a library that it loads itself."""
import os, sys, tempfile
from pathlib import Path
from types import SimpleNamespace

sys.path.insert(0, str(Path(__file__).parent.parent / "acceptance"))
from harness.processes import end  # noqa: E402
from harness.terminal import Terminal  # noqa: E402


def environment(**changes):
    return {name: value for name, value in {**os.environ, **changes}.items() if value is not None}


with tempfile.TemporaryDirectory() as folder:
    (Path(folder) / "here").mkdir()
    terminal = Terminal(SimpleNamespace(path="/usr/bin/orvane", folder=Path(folder), environment=environment), "--terminal", TERM="xterm")
    try:
        terminal.expect("orvane> ")
        print("it prompts on a terminal")
        terminal.send("quit")
        status = terminal.process.wait(20)
        assert status == 0, f"it ended with status {status}"
    finally:
        end(terminal.process)
        terminal.hang_up()
