"""The program as a command: options, a second instance, no display."""

import contextlib
import os
import shutil
import signal
import socket
import subprocess
import sys
import time
from pathlib import Path

import pytest

from harness.folders import temporary_folder
from harness.installation import allowed_mib
from harness.machine import needs
from harness.processes import Answers, descriptors, end, resident_mib, stranger
from harness.screen import wait_for_dialog
from harness.terminal import Terminal
from harness.waiting import stays, wait_for


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


def test_what_is_wrong_is_repeated_without_moving_the_terminals_cursor(program):
    result = program.run("\x1b[31mx")
    assert result.returncode == 2 and "unexpected argument ␛[31mx" in result.stderr and "\x1b" not in result.stderr
    result = program.run(DISPLAY=None, QT_QPA_PLATFORM="\x1b[31mx")
    assert result.returncode == 1 and "“␛[31mx”" in result.stderr and "\x1b" not in result.stderr


@pytest.mark.parametrize("arguments", [["--help"], ["--version"], ["--check"], ["--check", "--json"], ["--autostart", "on"], ["--autostart", "off"]])
def test_what_cannot_be_printed_is_a_failure(program, arguments):
    with open("/dev/full", "w") as full:
        result = subprocess.run([str(program.path), *arguments], env=program.environment(), stdin=subprocess.DEVNULL, stdout=full,
                                stderr=subprocess.PIPE, text=True, timeout=20)
    assert result.returncode == 1
    assert result.stderr == "orvane: standard output cannot be written: No space left on device\n"


def test_a_second_launch_that_cannot_tell_fails(running):
    with open("/dev/full", "w") as full:
        result = subprocess.run([str(running.path)], env=running.environment(), stdin=subprocess.DEVNULL, stdout=full, stderr=subprocess.PIPE,
                                text=True, timeout=20)
    assert result.returncode == 1 and "standard output cannot be written" in result.stderr
    assert running.alive


def test_a_home_folder_that_is_none_leaves_nothing_in_the_current_one(program):
    before = list((program.folder / "here").iterdir())
    result = program.run(HOME="relative", XDG_CONFIG_HOME=None, DISPLAY=None)
    assert result.returncode == 1 and "nobody would see it" in result.stderr
    assert list((program.folder / "here").iterdir()) == before


@pytest.mark.parametrize("option", ["--help", "--version"])
def test_help_and_version_need_no_display(program, option):
    assert program.run(option, DISPLAY=None).returncode == 0


def test_a_second_launch_opens_the_menu_of_the_first_and_says_so(running, desktop):
    with desktop.changing():
        result = running.run()
    assert result.returncode == 0 and f"already running (process {running.pid}); its menu is open" in result.stdout
    assert running.alive and running.launch.alive
    assert not running.server.launched_again(within=0.3)


def test_a_second_launch_raises_the_window_where_there_is_no_tray(make_program, desktop):
    program = make_program()
    program.start()
    program.server.next_launch()
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window")
    with desktop.window_in_front():
        result = program.run()
        assert result.returncode == 0 and "its window is in front now" in result.stdout
        wait_for(lambda: desktop.active_window() == "Orvane", "the window in front")


def test_a_second_launch_raises_a_question_that_waits(running, desktop):
    running.menu().row("New Pairing Code…").click()
    wait_for_dialog(running.pid, "Generate")
    with desktop.window_in_front():
        assert "its question is in front now" in running.run().stdout
        wait_for(lambda: desktop.active_window() == "Orvane", "the question in front")


def test_a_row_chosen_while_a_question_waits_raises_the_question(running, desktop):
    running.menu().row("New Pairing Code…").click()
    wait_for_dialog(running.pid, "Generate")
    with desktop.window_in_front():
        running.menu().row("Show Log").click()
        wait_for(lambda: desktop.active_window() == "Orvane", "the question in front")


@pytest.mark.parametrize("changes", [{"XDG_RUNTIME_DIR": None}, {"XDG_RUNTIME_DIR": "/nonexistent"}, {"DBUS_SESSION_BUS_ADDRESS": None}])
def test_one_instance_runs_for_a_user_whatever_the_environment_lacks(running, changes):
    result = running.run("--terminal", **changes)
    assert result.returncode == 0 and "already running" in result.stdout
    assert not running.server.launched_again(within=0.3)


def test_a_second_launch_is_told_on_the_terminal_of_the_first(make_program):
    program = make_program()
    terminal = Terminal(program, tty=True, TERM="xterm")
    program.server.next_launch()
    terminal.expect("Quit Orvane")
    result = program.run(DISPLAY=None)
    assert result.returncode == 0 and "its menu is on the terminal /dev/pts/" in result.stdout
    terminal.expect("Orvane was started once more")
    terminal.close()


def test_a_second_launch_is_told_that_a_service_has_no_terminal(make_program):
    program = make_program()
    program.process = subprocess.Popen([str(program.path), "--terminal"], env=program.environment(DISPLAY=None), cwd=program.folder / "here",
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    program.server.next_launch()
    result = program.run(DISPLAY=None)
    assert result.returncode == 0 and "it runs without a terminal" in result.stdout


def test_an_instance_that_does_not_answer_is_told(running):
    os.kill(running.pid, signal.SIGSTOP)
    try:
        result = running.run()
        assert result.returncode == 1 and "does not answer" in result.stderr
    finally:
        os.kill(running.pid, signal.SIGCONT)


def test_where_nobody_would_see_it_it_says_so_and_ends(program):
    result = program.run(DISPLAY=None)
    assert result.returncode == 1 and result.stdout == ""
    assert "nobody would see it: there is no display" in result.stderr
    assert not program.server.launched_again(within=0.2)


NOBODY = 65534


@pytest.fixture
def wayland():
    """The socket of a Wayland desktop without a screen."""
    folder = temporary_folder("orvane-wayland-")
    os.chown(folder, NOBODY, NOBODY)  # It refuses to run as root.
    process = subprocess.Popen(["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", "sway", "-c", "/dev/null"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL, cwd="/",
                               env={"PATH": os.environ["PATH"], "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder), "WLR_BACKENDS": "headless",
                                    "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman", "LIBSEAT_BACKEND": "noop"})
    yield wait_for(lambda: next((path for path in folder.glob("wayland-*") if path.is_socket()), None), "the compositor's socket", 20)
    end(process)
    shutil.rmtree(folder)


# Its own /dev, with a system log in it, and Qt's platforms but for Wayland's.
WITHOUT_PLUGIN = """
for name in null zero full random urandom tty; do touch dev/$name; mount --bind /dev/$name dev/$name; done
mount --bind platforms "$1"
mount --rbind dev /dev
exec "$2"
"""


def test_on_wayland_without_qts_plugin_it_says_so_also_in_the_systems_log_and_ends(program, wayland):
    needs(os.geteuid() == 0, "root, who can hide a plugin from one program")
    plugins = Path(subprocess.run(["qtpaths6", "--query", "QT_INSTALL_PLUGINS"], check=True, capture_output=True, text=True).stdout.strip())
    here = program.folder / "here"
    for name in ("dev", "platforms"):
        (here / name).mkdir()
    for plugin in (plugins / "platforms").glob("*.so"):
        if "wayland" not in plugin.name:
            shutil.copy(plugin, here / "platforms")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as system_log:
        system_log.bind(str(here / "dev/log"))
        result = subprocess.run(
            ["unshare", "--mount", "sh", "-ec", WITHOUT_PLUGIN, "sh", str(plugins / "platforms"), str(program.path)], text=True, cwd=here,
            env=program.environment(DISPLAY=None, WAYLAND_DISPLAY=str(wayland)), stdin=subprocess.DEVNULL, capture_output=True, timeout=20)
        system_log.settimeout(5)
        line = system_log.recv(4096).decode()
    assert result.returncode == 1, result.stderr
    reason = "nobody would see it: Qt has no plugin for Wayland (the package qt6-wayland), and nothing can be typed on standard input"
    assert reason in result.stderr and reason in line
    assert not program.server.launched_again(within=0.2)


def test_a_platform_that_there_is_not_is_told_and_another_taken(program, tray):
    program.start(tray=tray, QT_QPA_PLATFORM="nonsense")
    program.server.next_launch()
    wait_for(lambda: program.menu().status, "the icon")
    assert "Qt has no platform “nonsense”" in program.output


@pytest.mark.parametrize("platform", ["linuxfb:fb=/dev/null", "eglfs", "minimalegl"])
def test_a_platform_that_does_not_work_here_is_told_and_nothing_left_running(program, platform):
    result = program.run(QT_QPA_PLATFORM=platform, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
    assert result.returncode == 1, result.stderr
    assert "orvane: Qt cannot go on: " in result.stderr and result.stderr.endswith(f" (QT_QPA_PLATFORM={platform})\n")


def test_offscreen_without_a_session_bus_it_runs(program):
    program.start(QT_QPA_PLATFORM="offscreen", DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent", DISPLAY=None)
    launch = program.server.next_launch()
    assert stays(lambda: program.alive and launch.alive, 1)


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


def test_callers_that_send_anything_hold_on_or_come_by_the_hundred_delay_nothing(running):
    """A later instance says nothing and goes; who does otherwise is none."""
    menu = running.menu()
    address = str(running.folder / "run/orvane.socket")
    menu.row("Pairing code")
    before = len(descriptors(running.pid)), resident_mib(running.pid)
    worst, callers, answers = 0, [], Answers(running)
    try:
        for _ in range(300):
            callers.append(socket.socket(socket.AF_UNIX))
            callers[-1].settimeout(10)
            callers[-1].connect(address)
            with contextlib.suppress(BrokenPipeError):  # It has been answered already.
                callers[-1].send(b"\0\xff%s\n" * 1000)
            _, took = answers.ask(menu)
            worst = max(worst, took)
        assert "already running" in running.run().stdout
    finally:
        for caller in callers:
            caller.close()
    print(f"300 callers: worst answer {1000 * worst:.0f} ms")
    assert worst < 0.5
    wait_for(lambda: len(descriptors(running.pid)) <= before[0] + 3, "the callers to be gone")
    assert resident_mib(running.pid) - before[1] < allowed_mib(8)


LOCK_HOLDER = """
import fcntl, os, signal, sys
file = os.open(sys.argv[1] + "/orvane.lock", os.O_RDWR | os.O_CREAT, 0o666)
os.fchmod(file, 0o666)
fcntl.flock(file, fcntl.LOCK_EX)
print("held", flush=True)
signal.pause()
"""


@pytest.mark.parametrize("mode", [0o777, 0o1777])
def test_a_lock_that_another_user_holds_in_a_shared_folder_keeps_nobody_from_starting(program, tray, mode):
    needs(os.geteuid() == 0, "root, who can be another user, too")
    shared = program.folder / "shared"
    shared.mkdir()
    shared.chmod(mode)
    program.folder.chmod(0o755)
    with stranger([sys.executable, "-c", LOCK_HOLDER, str(shared)]) as holder:
        assert holder.stdout.readline() == "held\n"
        program.start(tray=tray, XDG_RUNTIME_DIR=str(shared))
        program.server.next_launch()
        result = program.run(XDG_RUNTIME_DIR=str(shared))
        assert result.returncode == 0 and f"already running (process {program.pid})" in result.stdout
