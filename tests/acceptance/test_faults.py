"""Faults from outside: each is survived, or ended in order. The counts are small; ORVANE_FAULTS=FULL makes them large."""

import os
import random
import resource
import shutil
import signal
import socket
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

import pytest

from harness.lines import device_block, device_line, phone_block, session_line
from harness.processes import descriptors, resident_mib, thread_names, zombies_of
from harness.waiting import stays, wait_equal, wait_for

HERE = Path(__file__).parent
FULL = os.environ.get("ORVANE_FAULTS") == "FULL"
WAITING = "○ Waiting for phone…"
PROMPT = 3.0  # Seconds within which what does not depend on the fault must happen, also on a busy machine.

# A server that says how it was ended, after the last words that are given as a command.
TELLING = """#!/bin/sh
trap '{last_words}; echo asked > "{folder}/ended"; exit 0' TERM
echo began > "{folder}/began"
while :; do sleep 0.02; done
"""


def times(few, many):
    return many if FULL else few


def put_telling_server(program, last_words=":"):
    program.server.put(TELLING.format(folder=program.folder, last_words=last_words))


def wait_for_beginning(program):
    wait_for((program.folder / "began").exists, "the server to begin")


def was_asked(program):
    return (program.folder / "ended").exists()


def show_phone(program):
    program.launch.say(device_block(device_line("uid", "Loopback", 16)) + phone_block(session_line(7, "Kitchen")))
    program.menu().row("Phones: 1")


def channels(program):
    """What the file says; None while there is none."""
    path = program.settings("channels")
    return path.read_bytes() if path.exists() else None


def channel_rows(program):
    menu = program.menu()
    menu.open()
    return menu.row("Phones: ").open()[0].open()[1:9]


@contextmanager
def silent_socket(path):
    """Accepts as far as the kernel does, and never says a word."""
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(str(path))
    listener.listen(100)
    yield f"unix:path={path}"
    listener.close()


@contextmanager
def small_disk(folder, size):
    folder.mkdir(parents=True, exist_ok=True)
    if subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "none", folder], capture_output=True).returncode:
        pytest.skip("mounting is not allowed here")
    try:
        yield
    finally:
        subprocess.run(["umount", "-l", folder], check=True)


# Message buses

def test_a_system_bus_that_never_answers_holds_up_neither_start_nor_menu_nor_end(program, tray):
    with silent_socket(program.folder / "silent") as address:
        program.start(tray=tray, DBUS_SYSTEM_BUS_ADDRESS=address)
        program.launch = program.server.next_launch()
        wait_equal(lambda: program.menu().status, WAITING)
        show_phone(program)
        menu = program.menu()
        assert stays(lambda: timed(menu.about_to_show) < PROMPT, times(8, 60)), "the menu answers all the while"
        begin = time.monotonic()
        assert program.quit() == 0
        assert time.monotonic() - begin < PROMPT


def timed(action):
    begin = time.monotonic()
    action()
    return time.monotonic() - begin


def test_a_session_bus_that_never_answers_costs_two_seconds_and_the_tray(program, desktop):
    with silent_socket(program.folder / "silent") as address:
        program.start(DBUS_SESSION_BUS_ADDRESS=address)
        program.server.next_launch(10)
        wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window in place of the tray")
        assert program.quit() == 0


# Files

def test_a_full_disk_keeps_the_old_choice_and_the_program_alive(running):
    folder = running.settings("channels").parent
    with small_disk(folder, "16k"):
        show_phone(running)
        rows = channel_rows(running)
        rows[1].click()
        wait_equal(lambda: channels(running), b"7=1\n")
        filler = folder / "filler"
        with pytest.raises(OSError), open(filler, "wb", buffering=0) as file:
            while True:
                file.write(bytes(4096))
        for index in range(times(20, 1000)):
            channel_rows(running)[2 + index % 6].click()
            assert channels(running) == b"7=1\n"
        assert set(os.listdir(folder)) == {"channels", "filler"}
        filler.unlink()
        channel_rows(running)[3].click()
        wait_equal(lambda: channels(running), b"7=3\n")
        assert running.quit() == 0


def test_a_folder_under_the_passing_name_blocks_no_choice(running):
    (running.settings(".channels.new") / "inside").mkdir(parents=True)
    show_phone(running)
    channel_rows(running)[2].click()
    wait_equal(lambda: channels(running), b"7=2\n")


def test_killed_again_and_again_under_writes_no_file_is_ever_torn(make_program, tray):
    whole = {f"7={pair}\n".encode() for pair in range(8)} | {None}
    program = make_program()
    rng = random.Random(11)
    for _ in range(times(5, 1000)):
        program.start(tray=tray)
        program.launch = program.server.next_launch()
        show_phone(program)
        rows = channel_rows(program)
        menu = program.menu()
        end = time.monotonic() + rng.uniform(0, 0.02)
        while time.monotonic() < end:
            menu.event_without_reply(rng.choice(rows).id, "clicked")
        program.process.kill()
        program.process.wait()
        program.launch.wait_until_gone()
        assert channels(program) in whole
        folder = program.settings("channels").parent
        assert set(os.listdir(folder) if folder.exists() else []) <= {"channels", ".channels.new"}
        tray.forget_items()


def test_a_home_that_cannot_be_written_loses_the_choice_and_nothing_else(program, tray):
    with small_disk(program.home, "1m"):
        subprocess.run(["mount", "-o", "remount,ro", program.home], check=True)
        program.start(tray=tray)
        program.launch = program.server.next_launch()
        show_phone(program)
        for row in channel_rows(program)[1:4]:
            row.click()
        wait_for(lambda: "7 → channels 7–8" in program.show_log().text(), "the choice to be made")
        program.menu().row("Restart Server").click()
        program.server.next_launch()
        assert os.listdir(program.home) == []
        assert program.quit() == 0


# Limits of the system

def test_where_no_thread_is_to_be_had_it_says_so_and_ends(program):
    def no_threads():  # None has a stack of that size.
        resource.setrlimit(resource.RLIMIT_STACK, (1 << 46, resource.RLIM_INFINITY))

    result = subprocess.run([program.path], env=program.environment(), capture_output=True, text=True, timeout=20,
                            stdin=subprocess.DEVNULL, preexec_fn=no_threads)
    assert result.returncode == 1
    assert result.stderr == "orvane: the system lets this user start no more threads (see ulimit -u)\n"


def test_without_a_free_descriptor_it_goes_on_and_afterwards_all_is_as_before(running):
    show_phone(running)
    rows = channel_rows(running)
    before = resource.prlimit(running.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(running.pid, resource.RLIMIT_NOFILE, (max(descriptors(running.pid)) + 1, before[1]))
    menu = running.menu()

    def is_alive():
        menu.event(rows[1].id, "clicked")
        return menu.status != ""

    assert stays(is_alive, times(2, 10))
    resource.prlimit(running.pid, resource.RLIMIT_NOFILE, before)
    channel_rows(running)[4].click()
    wait_equal(lambda: channels(running), b"7=4\n")
    assert zombies_of(running.pid) == []
    assert running.quit() == 0


# The way out

@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGQUIT, signal.SIGHUP])
def test_asked_to_end_it_asks_its_server(program, tray, number):
    put_telling_server(program)
    program.start(tray=tray)
    wait_for_beginning(program)
    program.process.send_signal(number)
    assert program.process.wait(10) == 0
    assert was_asked(program)


def test_when_the_x_server_goes_the_server_is_asked_to_end(program):
    reader, writer = os.pipe()
    xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", "800x600x24", "-nolisten", "tcp"],
                            pass_fds=[writer], stderr=subprocess.DEVNULL)
    try:
        os.close(writer)
        with os.fdopen(reader) as stream:
            display = ":" + stream.readline().strip()
        put_telling_server(program)
        program.start(DISPLAY=display)
        wait_for_beginning(program)
    finally:
        xvfb.kill()
        xvfb.wait()
    assert program.process.wait(10) == 1
    assert was_asked(program)


def test_a_server_with_more_to_say_than_a_pipe_holds_is_heard_out_at_the_end(program, tray):
    put_telling_server(program, "head -c 400000 /dev/zero")
    program.start(tray=tray)
    wait_for_beginning(program)
    assert program.quit() == 0
    assert was_asked(program)


def test_an_interrupt_ignored_at_its_start_stays_ignored(program, tray):
    program.tray = tray
    with open(program.output_path, "wb") as output:
        program.process = subprocess.Popen(
            ["/bin/sh", "-c", 'trap "" INT; exec "$0"', str(program.path)], env=program.environment(),
            cwd=program.folder / "here", stdin=subprocess.DEVNULL, stdout=output, stderr=output)
    program.server.next_launch()
    program.menu()
    program.process.send_signal(signal.SIGINT)
    assert stays(lambda: program.alive, 0.5)
    assert program.quit() == 0


def test_a_ctrl_c_is_for_the_program_alone(running):
    assert os.getpgid(running.launch.pid) == running.launch.pid
    assert os.getpgid(running.launch.pid) != os.getpgid(running.pid)


# Stops and crashes

def test_stopped_and_continued_it_goes_on(running):
    show_phone(running)
    for pid in (running.pid, running.launch.pid):
        os.kill(pid, signal.SIGSTOP)
        time.sleep(times(1, 3600))
        os.kill(pid, signal.SIGCONT)
        running.menu().row("Phones: 1")
    running.launch.say("phone=yes\n")
    wait_equal(lambda: running.menu().status, "● 1 phone connected")
    assert running.launch.alive


def test_a_server_restarted_again_and_again_leaves_nothing_behind(running):
    show_phone(running)
    running.menu().row("Restart Server").click()
    running.launch = running.server.next_launch()
    wait_equal(lambda: running.menu().status, WAITING)
    before = len(descriptors(running.pid)), len(thread_names(running.pid))
    for _ in range(times(20, 1000)):
        running.menu().row("Restart Server").click()
        running.launch = running.server.next_launch()
    wait_equal(lambda: (len(descriptors(running.pid)), len(thread_names(running.pid))), before)
    assert zombies_of(running.pid) == []


def test_a_server_that_crashes_again_and_again_leaves_nothing_behind(running):
    def crash():
        running.launch.kill(signal.SIGSEGV)
        wait_equal(lambda: running.menu().status, "⚠ Server stopped — restarting…")
        running.menu().row("Restart Server").click()  # Overtakes the delay.
        running.launch = running.server.next_launch()

    crash()
    wait_equal(lambda: running.menu().status, WAITING)
    before = len(descriptors(running.pid)), len(thread_names(running.pid))
    for _ in range(times(20, 1000)):
        crash()
    wait_equal(lambda: running.menu().status, WAITING)
    wait_equal(lambda: (len(descriptors(running.pid)), len(thread_names(running.pid))), before)
    assert zombies_of(running.pid) == []


def test_a_panel_that_crashes_again_and_again_gets_the_icon_each_time(running, make_tray):
    running.menu().row("Pairing code")
    before = None
    for round in range(times(10, 100)):
        if round % 2:
            running.menu().open()
        running.tray.close()
        running.tray = make_tray()
        wait_equal(lambda: running.menu().status, WAITING)
        if round == 2:
            before = len(descriptors(running.pid)), resident_mib(running.pid)
    assert len(descriptors(running.pid)) <= before[0] + 1
    assert resident_mib(running.pid) - before[1] < 4


@pytest.mark.parametrize("script, cause", [
    ("#!/nowhere/sh\n", "its interpreter “/nowhere/sh” is missing"),
    (None, "Is a directory"),
])
def test_a_server_that_cannot_start_is_described_by_the_true_cause(program, tray, script, cause):
    program.server.path.unlink()
    if script is None:
        program.server.path.mkdir()
    else:
        program.server.put(script)
    program.start(tray=tray)
    wait_equal(lambda: program.menu().status, "⚠ Could not start server")
    wait_equal(program.show_log().text,
               f"Failed to launch orvaned: The file “{program.server.path}” could not be started: {cause}\n")


# Clock and language

def test_a_calendar_that_is_set_back_and_forward_changes_nothing(program, tray):
    library, clock = program.folder / "shifted_clock.so", program.folder / "clock"
    subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", library, HERE / "harness/shifted_clock.c", "-ldl"], check=True)
    clock.write_text("0")
    program.start(tray=tray, LD_PRELOAD=str(library), ORVANE_TEST_CLOCK=str(clock))
    program.launch = program.server.next_launch()
    show_phone(program)
    for days in (1, -1, 0):
        clock.write_text(str(days * 86400))
        begin = time.monotonic()
        program.launch.exit(3)
        program.launch = program.server.next_launch(PROMPT + 4)
        assert time.monotonic() - begin > 0.9, "a server is restarted after its delay, not at once"
        program.menu().row("Restart Server").click()
        program.launch = program.server.next_launch(PROMPT)
        program.launch.say("phone=yes\n")
        wait_equal(lambda: program.menu().status, "● 1 phone connected", PROMPT)
    assert program.quit() == 0


def test_where_people_write_a_comma_figures_are_read_and_shown_with_a_point(program, tray):
    built = subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", program.folder / "de_DE.UTF-8"], capture_output=True) \
        if shutil.which("localedef") and Path("/usr/share/i18n/locales/de_DE").exists() else None
    if not built or not (program.folder / "de_DE.UTF-8").exists():
        pytest.skip("this machine cannot make a locale with a comma: install the package locales")
    program.start(tray=tray, LOCPATH=str(program.folder), LC_ALL="de_DE.UTF-8")
    program.launch = program.server.next_launch()
    program.launch.say(device_block(device_line("uid", "Loopback", 16)) + phone_block(session_line(7, "Kitchen", rtt="11.5", net="4.25")))
    titles = [row.title for row in program.menu().row("Phones: 1").open()[0].open()]
    assert "Round trip 11.5 ms" in titles and "Network delay 4.2 ms" in titles
    channel_rows(program)[1].click()
    wait_equal(lambda: channels(program), b"7=1\n")
