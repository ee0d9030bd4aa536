"""The program as a command: options, a second instance, no display."""

import signal
import subprocess
import time

import pytest

from harness.waiting import wait_equal


def test_help_says_how_to_use_it_and_starts_nothing(program):
    result = program.run("--help")
    assert result.returncode == 0 and result.stderr == ""
    assert result.stdout.startswith("Usage: orvane") and "--terminal" in result.stdout
    assert not program.server.launched_again(within=0.2)


def test_version_is_one_line(program):
    result = program.run("--version")
    assert result.returncode == 0 and result.stderr == ""
    name, version = result.stdout.split()
    assert name == "orvane" and version.replace(".", "").isdigit()


@pytest.mark.parametrize("argument", ["--nonsense", "word", "--help=me"])
def test_a_wrong_option_is_refused(program, argument):
    result = program.run(argument)
    assert result.returncode == 2 and result.stdout == ""
    assert argument in result.stderr
    assert not program.server.launched_again(within=0.2)


@pytest.mark.parametrize("option", ["--help", "--version"])
def test_help_and_version_need_no_display(program, option):
    assert program.run(option, DISPLAY=None).returncode == 0


def test_a_second_instance_says_so_and_leaves_the_first_alone(running):
    result = running.run()
    assert result.returncode != 0
    assert "already running" in result.stderr
    assert running.alive and running.launch.alive
    assert not running.server.launched_again(within=0.3)
    wait_equal(lambda: running.menu().status, "○ Waiting for phone…")


def test_a_second_instance_on_the_terminal_is_refused_as_well(running):
    assert "already running" in running.run("--terminal").stderr


def test_after_a_kill_the_program_can_be_started_again(running):
    running.process.kill()
    running.process.wait()
    running.launch.wait_until_gone()
    running.tray.forget_items()
    running.start(tray=running.tray)
    running.server.next_launch()
    assert running.alive


def test_a_second_signal_does_not_disturb_the_quitting(running):
    running.process.send_signal(signal.SIGTERM)
    running.process.send_signal(signal.SIGINT)
    assert running.process.wait(5) in (0, -signal.SIGINT)
    running.launch.wait_until_gone()


def test_it_quits_within_a_second_while_adb_hangs(make_program, tray):
    program = make_program(adb="#!/bin/sh\ntouch \"$0.called\"\nexec sleep 60\n")
    program.start(tray=tray)
    program.server.next_launch()
    from harness.waiting import wait_for
    wait_for((program.folder / "share/orvane/adb.called").exists, "adb to be called")
    begin = time.monotonic()
    assert program.quit() == 0
    assert time.monotonic() - begin < 1.5


def test_signals_ignored_at_its_start_do_not_reach_the_server(program, tray):
    program.tray = tray
    with open(program.folder / "output", "wb") as output:
        program.process = subprocess.Popen(
            ["/bin/sh", "-c", 'trap "" HUP PIPE INT; exec "$0"', str(program.path)], env=program.environment(),
            cwd=program.folder / "here", stdin=subprocess.DEVNULL, stdout=output, stderr=output)
    launch = program.server.next_launch()
    assert launch.signal_sets() == (0, 0)
