"""What hangs, goes or changes around the program: each is survived, or ended in order. ORVANE_FAULTS=FULL does more of it."""

import errno
import os
import shlex
import shutil
import signal
import subprocess
import time
from pathlib import Path

import pytest

from harness.faults import (PHONE_REPORT, PROMPT, WAITING, Holdings, SessionBus, channel_rows, channels, show_phone, silent_socket,
                            timed, times)
from harness.lines import device_block, device_line, phone_block, session_line
from harness.machine import needs
from harness.processes import Answers
from harness.server import put_telling_server, wait_for_beginning, was_asked
from harness.sound import SoundServer
from harness.tray import Tray
from harness.waiting import stays, wait_equal, wait_for
from harness.xvfb import start_xvfb

DAY = 86400


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


def test_a_session_bus_that_never_answers_costs_two_seconds_and_the_tray(program, desktop):
    with silent_socket(program.folder / "silent") as address:
        program.start(DBUS_SESSION_BUS_ADDRESS=address)
        program.server.next_launch(10)
        wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window in place of the tray")
        assert program.quit() == 0


@pytest.fixture
def session_bus(desktop, program):
    bus = SessionBus(desktop, program.folder)
    yield bus
    bus.close()


def test_a_session_bus_that_hangs_later_does_not_hold_up_the_end(program, desktop, session_bus):
    program.start(tray=Tray(session_bus), DBUS_SESSION_BUS_ADDRESS=session_bus.bus_address)
    program.launch = program.server.next_launch()
    wait_for(lambda: program.menu().find("Quit Orvane"), "the icon")
    with session_bus.hung():
        begin = time.monotonic()
        assert program.quit() == 0
        assert time.monotonic() - begin < PROMPT
    program.launch.wait_until_gone()


def test_a_session_bus_that_is_restarted_costs_a_window_for_a_while_and_nothing_else(program, desktop, session_bus):
    program.start(tray=Tray(session_bus), DBUS_SESSION_BUS_ADDRESS=session_bus.bus_address)
    program.launch = program.server.next_launch()
    show_phone(program)
    holdings = None
    for _ in range(times(2, 20)):
        session_bus.die()
        wait_for(lambda: "Orvane" in desktop.visible_windows(), "the window in place of the tray")
        session_bus.start()
        program.tray = Tray(session_bus)
        wait_for(lambda: program.menu().find("Phones: 1"), "the icon on the new bus")
        wait_for(lambda: "Orvane" not in desktop.visible_windows(), "the end of the window")
        channel_rows(program)[2].click()
        wait_equal(lambda: channels(program), b"7=2\n")
        program.menu().close()
        if holdings:
            holdings.wait_until_as_before()
        holdings = holdings or Holdings(program)
    assert program.launch.alive
    assert program.quit() == 0


# Sound

def reports(program):
    """How long it takes to have devices reported, each of which asks for the volume, and the menu answer; from the shortest on."""
    answers = Answers(program)
    return sorted(answers.time(lambda: (show_phone(program), program.menu().about_to_show()))[1] for _ in range(20))


def test_a_sound_server_that_hangs_is_waited_for_once_and_heard_as_soon_as_it_goes_on(program, tray):
    sound = SoundServer(("uid", 16))
    try:
        program.start(tray=tray, PULSE_SERVER=sound.address)
        program.launch = program.server.next_launch()
        show_phone(program)
        menu = program.menu()
        for _ in range(times(2, 20)):
            usual = reports(program)
            sound.set_output("uid", 50)
            sound.stop()
            waits = reports(program)
            assert waits[15] < 2 * usual[15] + 0.1, f"it is waited for at most once: {waits}, usually {usual}"
            assert not menu.find("⚠ ")
            sound.go_on()
            assert menu.row("⚠ ").title == "⚠ Loopback volume is 50% — click to set 100%", "though nothing was reported"
            menu.row("⚠ ").click()
            wait_equal(lambda: sound.output("uid"), {100})
            wait_for(lambda: not menu.find("⚠ "), "the end of the warning")
        sound.stop()
        show_phone(program)
        sound.kill()
        sound.start()
        sound.set_output("uid", 25)

        def warned():
            show_phone(program)
            return menu.find("⚠ Loopback volume is 25%")

        wait_for(warned, "the warning of the new sound server")
        assert program.quit() == 0
    finally:
        sound.close()


# The way out

@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGQUIT, signal.SIGHUP])
def test_asked_to_end_it_asks_its_server(program, tray, number):
    put_telling_server(program)
    program.start(tray=tray)
    wait_for_beginning(program)
    program.process.send_signal(number)
    assert program.process.wait(10) == 0
    assert was_asked(program)


def test_when_the_x_server_goes_the_server_is_asked_to_end_and_what_was_chosen_stays(program, tray):
    xvfb, display = start_xvfb()
    try:
        put_telling_server(program, first_words=f"printf %s {shlex.quote(PHONE_REPORT)}")
        program.start(tray=tray, DISPLAY=display)
        wait_for_beginning(program)
        channel_rows(program)[3].click()
        wait_equal(lambda: channels(program), b"7=3\n")
    finally:
        xvfb.kill()
        xvfb.wait()
    assert program.process.wait(10) == 1
    assert was_asked(program)
    assert channels(program) == b"7=3\n"


def test_a_server_with_more_to_say_than_a_pipe_holds_is_heard_out_at_the_end(program, tray):
    put_telling_server(program, last_words="head -c 400000 /dev/zero")
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


# A server that cannot be started

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

def line_in_the_systems_log(program):
    """A new one, which tells of a choice that could not be written."""
    told = len(program.faults.logged())
    with program.faults.present("failing", f"mkdir {errno.ENOSPC}"):
        channel_rows(program)[1].click()
        return wait_for(lambda: program.faults.logged()[told:], "the line")


def test_a_calendar_that_is_set_back_and_forward_changes_nothing(faulty):
    show_phone(faulty)
    for days in (1, -1, 0):
        faulty.faults.put("calendar", str(days * DAY))
        there = time.time() + days * DAY
        line = line_in_the_systems_log(faulty)
        assert any(time.strftime("%b %e", time.localtime(moment)) in line for moment in (there, there + 60)), "the program's calendar is set"
        begin = time.monotonic()
        faulty.launch.exit(3)
        faulty.launch = faulty.server.next_launch(PROMPT + 4)
        assert time.monotonic() - begin > 0.9, "a server is restarted after its delay, not at once"
        faulty.menu().row("Restart Server").click()
        faulty.launch = faulty.server.next_launch(PROMPT)
        show_phone(faulty)
    assert faulty.quit() == 0


def test_where_people_write_a_comma_figures_are_read_and_shown_with_a_point(program, tray):
    needs(shutil.which("localedef") and Path("/usr/share/i18n/locales/de_DE").exists(), "a locale with a comma (the package locales)")
    subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", program.folder / "de_DE.UTF-8"], check=True)
    program.start(tray=tray, LOCPATH=str(program.folder), LC_ALL="de_DE.UTF-8")
    program.launch = program.server.next_launch()
    program.launch.say(device_block(device_line("uid", "Loopback", 16)) + phone_block(session_line(7, "Kitchen", rtt="11.5", net="4.25e0")))
    titles = [row.title for row in program.menu().row("Phones: 1").open()[0].open()]
    assert "Round trip 11.5 ms" in titles and "Network delay 4.2 ms" in titles
    channel_rows(program)[1].click()
    wait_equal(lambda: channels(program), b"7=1\n")
