"""The server as a child of the program: how it is started, watched, restarted and ended."""

import os
import re
import signal
import time
from collections import Counter

import pytest

from harness.processes import alive, descriptors, thread_names, zombies_of
from harness.waiting import stays, wait_equal, wait_for

WAITING = "○ Waiting for phone…"
STOPPED = "⚠ Server stopped — restarting…"
FAILED = "⚠ Could not start server"


def test_the_server_gets_no_arguments_the_programs_environment_and_its_folder(running):
    launch = running.launch
    assert launch.arguments == []
    assert launch.parent == running.pid
    assert launch.working_folder == str(running.folder / "here")
    given = dict(part.split(b"=", 1) for part in launch.noted("environ").split(b"\0") if part)
    assert given == {name.encode(): value.encode() for name, value in running.environment().items()}


def test_the_server_gets_one_pipe_for_both_streams_and_no_other_descriptor(running):
    descriptors = running.launch.descriptors
    assert set(descriptors) == {"0", "1", "2"}
    assert descriptors["0"] == "/dev/null"
    assert descriptors["1"].startswith("pipe:") and descriptors["2"] == descriptors["1"]


def test_the_server_begins_with_default_signal_dispositions_and_none_blocked(running):
    assert running.launch.signal_sets() == (0, 0)


def test_both_streams_are_followed_in_the_order_printed(running):
    for number in range(20):
        running.launch.say(f"line {number}\n", error=number % 2 == 1)
    log = running.show_log()
    wait_equal(lambda: log.text(), "".join(f"line {number}\n" for number in range(20)))


@pytest.mark.parametrize("how", ["the Quit row", "SIGTERM", "SIGINT", "SIGHUP", "SIGKILL"])
def test_however_the_program_ends_its_server_ends_too(running, how):
    if how == "the Quit row":
        running.menu().row("Quit Orvane").click()
    else:
        running.process.send_signal(getattr(signal, how))
    status = running.process.wait(10)
    assert status == (-signal.SIGKILL if how == "SIGKILL" else 0)
    running.launch.wait_until_gone(5)


@pytest.mark.parametrize("how", [signal.SIGTERM, signal.SIGKILL])
def test_a_server_that_ignores_sigterm_does_not_outlive_the_program(running, how):
    running.launch.ignore("SIGTERM")
    running.process.send_signal(how)
    running.process.wait(10)
    running.launch.wait_until_gone(5)


def test_quitting_does_not_wait_for_the_server(running):
    running.launch.ignore("SIGTERM")
    begin = time.monotonic()
    running.menu().row("Quit Orvane").click()
    running.process.wait(5)
    assert time.monotonic() - begin < 3


def test_crashes_are_counted_in_the_delays_of_the_restarts(running):
    menu = running.menu()
    begin = time.monotonic()
    running.launch.exit(1)
    wait_equal(lambda: menu.status, STOPPED)
    second = running.server.next_launch()
    assert 0.9 < time.monotonic() - begin < 4
    wait_equal(lambda: menu.status, WAITING)
    begin = time.monotonic()
    second.exit(255)
    running.server.next_launch()
    assert 1.9 < time.monotonic() - begin < 5
    log = running.show_log()
    wait_equal(log.text, "\n— orvaned exited (status 1); restarting in 1s —\n"
                         "\n— orvaned exited (status 255); restarting in 2s —\n")


def test_a_server_ended_by_a_signal_is_restarted(running):
    running.launch.kill(signal.SIGKILL)
    running.server.next_launch()
    log = running.show_log()
    wait_equal(log.text, "\n— orvaned exited (status 9); restarting in 1s —\n")


def test_a_restart_by_hand_logs_no_exit_and_begins_to_count_anew(running):
    menu = running.menu()
    running.launch.exit(3)
    second = running.server.next_launch()
    menu.row("Restart Server").click()
    third = running.server.next_launch()
    assert not second.alive
    third.exit(4)
    running.server.next_launch()
    log = running.show_log()
    wait_equal(log.text, "\n— orvaned exited (status 3); restarting in 1s —\n"
                         "\n— restarting server —\n"
                         "\n— orvaned exited (status 4); restarting in 1s —\n")


def test_a_restart_waits_until_the_old_server_has_gone(running):
    """A server that takes its time keeps the next one waiting: both would want the same port."""
    running.server.put("#!/bin/sh\nkill -0 $(cat \"$0.first\") && touch \"$0.overlap\"\nexec sleep 1000\n")
    running.launch.ignore("SIGTERM")
    first = running.launch.pid
    running.server.path.with_name("orvaned.first").write_text(str(first))
    running.menu().row("Restart Server").click()
    assert stays(lambda: len(running.servers()) == 1, 0.3)
    running.launch.kill(signal.SIGKILL)
    wait_for(lambda: [pid for pid in running.servers() if pid != first], "the next server")
    assert not running.server.path.with_name("orvaned.overlap").exists()


def test_quitting_while_a_restart_is_pending_launches_nothing(running):
    running.launch.exit(1)
    wait_equal(lambda: running.menu().status, STOPPED)
    running.menu().row("Quit Orvane").click()
    running.process.wait(5)
    assert not running.server.launched_again(within=1.5)


def test_a_restart_by_hand_during_the_pause_launches_one_server_at_once(running):
    running.launch.exit(1)
    running.server.next_launch().exit(1)  # The pause after the second time is two seconds.
    wait_equal(lambda: running.menu().status, STOPPED)
    row = running.menu().row("Restart Server")
    clicked = time.clock_gettime(time.CLOCK_BOOTTIME)
    row.click()
    launch = running.server.next_launch()
    assert launch.began - clicked < 0.9
    assert not running.server.launched_again(within=2.5), "the pause ends without a second server"
    assert launch.alive and running.servers() == [launch.pid]


@pytest.mark.parametrize("obstacle", ["missing", "not executable", "no program", "a folder"])
def test_a_server_that_cannot_be_started_is_said_once_and_can_be_tried_again(program, tray, obstacle):
    path = program.server.path
    if obstacle == "missing":
        path.unlink()
    elif obstacle == "not executable":
        path.chmod(0o644)
    elif obstacle == "a folder":
        path.unlink()
        path.mkdir()
    else:
        program.server.put("\x7fnothing that runs")
    program.start(tray=tray)
    menu = program.menu()
    wait_equal(lambda: menu.status, FAILED)
    assert not program.servers()
    log = program.show_log()
    lines = wait_for(log.text, "a line in the log").splitlines()
    assert len(lines) == 1 and lines[0].startswith("Failed to launch orvaned: ") and len(lines[0]) > 30
    assert not program.server.launched_again(within=1.2), "a failed launch is not tried again by itself"

    if obstacle == "a folder":
        path.rmdir()
    program.server.install()
    menu.row("Restart Server").click()
    program.server.next_launch()
    wait_equal(lambda: menu.status, WAITING)


def test_a_server_that_ends_at_once_keeps_the_menu_alive(program, tray):
    program.server.put("#!/bin/sh\necho no port\nexit 7\n")
    program.start(tray=tray)
    menu = program.menu()
    wait_equal(lambda: menu.status, STOPPED)
    log = program.show_log()
    wait_for(lambda: "no port\n\n— orvaned exited (status 7); restarting in 1s —\n" in log.text(), "the log")


def held(program):
    """Descriptors and threads, but for Qt's pool of threads, which come and go by themselves, each with an eventfd."""
    files = [target for target in descriptors(program.pid).values() if "eventfd" not in target]
    threads = [name for name in thread_names(program.pid) if "pooled" not in name]
    return Counter(re.sub(r"\d+", "…", target) for target in files), Counter(threads)


def test_200_restarts_leave_no_zombie_descriptor_or_thread(program, tray):
    program.server.put("#!/bin/sh\nexec sleep 1000\n")
    program.start(tray=tray)
    menu = program.menu()
    for _ in range(5):
        menu.row("Restart Server").click()
    wait_for(lambda: len(program.servers()) == 1, "one server")
    log = program.show_log()
    before = held(program)
    done = log.text().count("— restarting server —")
    restart = menu.row("Restart Server").id
    for _ in range(200):
        menu.event(restart, "clicked")
    wait_equal(lambda: log.text().count("— restarting server —"), done + 200, timeout=60)
    wait_for(lambda: len(program.servers()) == 1, "one server")
    wait_for(lambda: not zombies_of(program.pid), "the end of every zombie")
    # No more than before: a child that was just being made then had some for a moment.
    wait_for(lambda: all(now <= earlier for now, earlier in zip(held(program), before)), f"{before} again, not {held(program)}")


def test_killed_during_the_pause_before_a_restart_it_leaves_no_server(running):
    running.launch.exit(1)
    wait_equal(lambda: running.menu().status, STOPPED)
    os.kill(running.pid, signal.SIGKILL)
    running.process.wait()
    assert not running.server.launched_again(within=1.3)
    assert not alive(running.launch.pid)


def test_what_a_child_of_the_replaced_server_prints_reaches_the_log_and_it_is_not_killed(make_program, tray):
    program = make_program(scripted=False)
    server = program.folder / "bin/orvaned"
    server.write_text('#!/bin/sh\n[ -e "$0.first" ] && exec sleep 60\ntouch "$0.first"\n'
                      '(until [ -e "$0.replaced" ]; do sleep 0.1; done; echo "late words" && touch "$0.said") &\nexec sleep 60\n')
    server.chmod(0o755)
    program.start(tray=tray)
    wait_for((program.folder / "bin/orvaned.first").exists, "the server")
    log = program.show_log()
    program.menu().row("Restart Server").click()
    wait_for(lambda: "restarting server" in log.text(), "the restart")
    (program.folder / "bin/orvaned.replaced").touch()
    wait_for(lambda: "late words" in log.text(), "what the child says")
    wait_for((program.folder / "bin/orvaned.said").exists, "the child to go on")
