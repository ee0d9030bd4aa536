"""What the system does not give: room on the disk, threads, processes, descriptors, memory. ORVANE_FAULTS=FULL does more of it."""

import errno
import os
import resource
import subprocess
import time
from contextlib import contextmanager
from itertools import cycle

import pytest
from gi.repository import Gio, GLib

from harness.bluetooth import frame
from harness.bridge import PIXEL, STREAMING, choices, machine, row, start  # noqa: F401
from harness.faults import PROMPT, WAITING, Faults, Holdings, channel_rows, channels, show_phone, small_disk, timed, times
from harness.installation import sanitizer
from harness.lines import device_block, device_line, phone_block, session_line
from harness.processes import descriptors, resident_mib, status_mib
from harness.screen import wait_for_dialog, wait_for_no_dialog
from harness.waiting import wait_equal, wait_for


# Files

# Each call by which a setting gets to the disk; and where no file can be without a name.
STEPS = ["tmpfile", "write", "fsync", "linkat", "renameat"]
STEPS_BY_NAME = ["create", "write", "fsync", "renameat"]


on_a_disk_without_room = pytest.mark.parametrize("error", [errno.ENOSPC, errno.EDQUOT], ids=["full disk", "quota"])


def choose_while_each_call_fails(program, path, error, choose):
    """Has another choice made for each of the calls, and sees that the file stays as it is. Returns how many were made."""
    old = path.read_bytes()
    failure = f"{path.name} could not be written: {os.strerror(error)}"
    for unnamed, steps in ((True, STEPS), (False, STEPS_BY_NAME)):
        for step in steps:
            told = program.faults.logged().count(failure)
            failing = f"{step} {error}\n" + ("" if unnamed else f"tmpfile {errno.EOPNOTSUPP}\n")
            with program.faults.present("failing", failing):
                choose()
                wait_for(lambda: program.faults.logged().count(failure) > told, f"the line about {step}")
            assert path.read_bytes() == old, step
            assert os.listdir(path.parent) == [path.name], step
    return len(STEPS) + len(STEPS_BY_NAME)


@on_a_disk_without_room
def test_a_disk_that_is_full_at_any_call_of_a_write_keeps_the_old_channels_and_that_is_logged(faulty, error):
    show_phone(faulty)
    channel_rows(faulty)[1].click()
    wait_equal(lambda: channels(faulty), b"7=1\n")
    holdings = Holdings(faulty)
    made = choose_while_each_call_fails(faulty, faulty.settings("channels"), error, lambda: channel_rows(faulty)[3].click())
    faulty.menu().close()
    holdings.wait_until_as_before()
    channel_rows(faulty)[5].click()
    wait_equal(lambda: channels(faulty), b"7=5\n")
    log = faulty.show_log()
    wait_equal(lambda: log.text().count("— 7 → channels 7–8 —"), made)


@on_a_disk_without_room
def test_a_disk_that_is_full_at_any_call_of_a_write_keeps_the_old_device_and_that_is_logged(faulty, error):
    faulty.launch.say(device_block(device_line("old"), device_line("new", active=False)))
    menu = faulty.menu()
    path = faulty.settings("device")

    def choose(number):
        menu.row("Audio device: ").open()[number].click()
        faulty.launch = faulty.server.next_launch()

    choose(0)
    assert path.read_text().startswith("uid=old\n")
    holdings = Holdings(faulty)
    choose_while_each_call_fails(faulty, path, error, lambda: choose(1))
    menu.close()
    holdings.wait_until_as_before()
    choose(1)
    assert path.read_text().startswith("uid=new\n")


@on_a_disk_without_room
def test_a_disk_that_is_full_at_any_call_of_a_write_keeps_the_old_phone_of_bluetooth_and_that_is_logged(machine, program, tray, error):
    machine.phone()
    machine.phone("BB:00:00:00:00:02", "Galaxy")
    machine.bluez.appear()
    program.faults = Faults(program)
    libraries = f"{program.faults.environment['LD_PRELOAD']}:{machine.library}"
    program.start(tray=tray, **{**program.faults.environment, **machine.environment(), "LD_PRELOAD": libraries})
    path = program.home / ".config/Orvane/Orvane.conf"
    wait_for(lambda: {"Pixel", "Galaxy"} <= {row.title for row in choices(program)}, "both phones to be offered")
    names = cycle(["Pixel", "Galaxy"])

    def choose():
        name = next(names)
        next(row for row in choices(program) if row.title == name).click()

    choose()
    wait_for(path.exists, "the first choice on the disk")
    choose_while_each_call_fails(program, path, error, choose)
    assert f"btDevice={PIXEL}\n" in path.read_text()
    choose()
    choose()
    wait_for(lambda: "btDevice=BB:" in path.read_text(), "the other choice on the disk")
    program.faults.close()


def test_a_folder_that_the_full_disk_has_no_room_for_is_made_when_it_has(faulty):
    show_phone(faulty)
    with faulty.faults.present("failing", f"mkdir {errno.ENOSPC}"):
        channel_rows(faulty)[3].click()
        wait_for(lambda: "channels could not be written: " in faulty.faults.logged(), "the line in the system's log")
    assert not (faulty.home / "Library").exists()
    channel_rows(faulty)[4].click()
    wait_equal(lambda: channels(faulty), b"7=4\n")


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


def test_a_home_that_cannot_be_written_loses_the_choice_and_nothing_else(program, tray):
    with small_disk(program.home, "1m"):
        subprocess.run(["mount", "-o", "remount,ro", program.home], check=True)
        program.faults = Faults(program)
        program.start(tray=tray, **program.faults.environment)
        program.launch = program.server.next_launch()
        show_phone(program)
        for row in channel_rows(program)[1:4]:
            row.click()
        wait_for(lambda: "7 → channels 7–8" in program.show_log().text(), "the choice to be made")
        wait_equal(lambda: program.faults.logged().count("/channels could not be written: "), 3)
        assert program.faults.logged().count(f"/Orvane could not be made: {os.strerror(errno.EROFS)}") == 3
        program.menu().row("Restart Server").click()
        program.server.next_launch()
        assert os.listdir(program.home) == []
        assert program.quit() == 0
        program.faults.close()


# Threads, processes, descriptors, memory

def test_where_no_thread_is_to_be_had_it_says_so_and_ends(program):
    if sanitizer() == "thread":
        pytest.skip("ThreadSanitizer does not start with such a stack")

    def no_threads():  # None has a stack of that size.
        resource.setrlimit(resource.RLIMIT_STACK, (1 << 46, resource.RLIM_INFINITY))

    result = subprocess.run([program.path], env=program.environment(), capture_output=True, text=True, timeout=20,
                            stdin=subprocess.DEVNULL, preexec_fn=no_threads)
    assert result.returncode == 1
    assert result.stderr == "orvane: the system lets this user start no more threads (see ulimit -u)\n"


def test_without_threads_only_the_bridge_stands_still(start, machine):
    phone = machine.phone()
    program = start()
    link = phone.link()
    show_phone(program)
    holdings = Holdings(program)
    for index in range(times(3, 100)):
        machine.worse("no-threads")
        link.send(frame("A"))
        wait_equal(lambda: row(program), "Bluetooth: the receiver is not accepting connections")
        channel_rows(program)[index % 8].click()
        wait_equal(lambda: channels(program), f"7={index % 8}\n".encode())
        program.menu().row("Restart Server").click()
        program.launch = program.server.next_launch()
        show_phone(program)
        machine.worse("no-threads", False)
        link.send(frame("A"))
        wait_equal(lambda: row(program), STREAMING)
        machine.server.accept().close()
        link.send(frame("D"))
        wait_for(lambda: row(program) != STREAMING, "the end of streaming")
    program.menu().close()
    holdings.wait_until_as_before()
    assert program.quit() == 0


def test_without_processes_every_choice_is_kept_and_the_server_starts_when_there_are_some_again(faulty):
    show_phone(faulty)
    holdings = Holdings(faulty)
    for index in range(times(3, 100)):
        with faulty.faults.present("no-forks"):
            channel_rows(faulty)[index % 8].click()
            wait_equal(lambda: channels(faulty), f"7={index % 8}\n".encode())
            faulty.menu().row("Restart Server").click()
            wait_equal(lambda: faulty.menu().status, "⚠ Could not start server")
        faulty.menu().row("Restart Server").click()
        faulty.launch = faulty.server.next_launch()
        wait_equal(lambda: faulty.menu().status, WAITING)
        show_phone(faulty)
    faulty.menu().close()
    holdings.wait_until_as_before()
    assert "could not be started: Resource temporarily unavailable" in faulty.show_log().text()
    assert faulty.quit() == 0


DESCRIPTORS = 200


@pytest.fixture
def limited(faulty):
    """With so few descriptors that they are soon in use."""
    if sanitizer() == "address":
        pytest.skip("UndefinedBehaviorSanitizer looks at memory through a pipe, and without a descriptor takes any object for none")
    hard = resource.prlimit(faulty.pid, resource.RLIMIT_NOFILE)[1]
    resource.prlimit(faulty.pid, resource.RLIMIT_NOFILE, (DESCRIPTORS, hard))
    show_phone(faulty)
    return faulty


def use_up_descriptors(program):
    """Those, too, that a probe of adb has at the moment."""
    program.faults.put("hoard-more")
    program.faults.put("hoard")
    wait_for(lambda: program.menu().status and len(descriptors(program.pid)) == DESCRIPTORS, "every descriptor in use")
    program.faults.remove("hoard-more")


def give_back_descriptors(program):
    program.faults.remove("hoard")
    wait_for(lambda: program.menu().status and len(descriptors(program.pid)) < DESCRIPTORS / 2, "the end of that")


def test_ten_seconds_with_every_descriptor_in_use_leave_nothing_behind(limited):
    menu, rows = limited.menu(), channel_rows(limited)
    menu.close()
    holdings = Holdings(limited)
    use_up_descriptors(limited)
    limited.faults.put("hoard-more")
    slowest = 0
    end = time.monotonic() + times(2, 10)
    while time.monotonic() < end:
        rows[1].click()
        menu.row("Restart Server").click()
        wait_equal(lambda: menu.status, "⚠ Could not start server")
        slowest = max(slowest, timed(menu.about_to_show))
    assert slowest < PROMPT
    give_back_descriptors(limited)
    assert channels(limited) is None
    wait_for(lambda: "channels could not be written: Too many open files" in limited.faults.logged(), "the failure")
    channel_rows(limited)[4].click()
    wait_equal(lambda: channels(limited), b"7=4\n")
    menu.row("Restart Server").click()
    limited.launch = limited.server.next_launch()
    menu.close()
    holdings.wait_until_as_before()
    assert limited.quit() == 0


NOTIFICATIONS = "org.freedesktop.Notifications"
NOTIFICATIONS_XML = f"""
<node><interface name="{NOTIFICATIONS}"><method name="Notify">
  <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
  <arg type="s" direction="in"/><arg type="as" direction="in"/><arg type="a{{sv}}" direction="in"/><arg type="i" direction="in"/>
  <arg type="u" direction="out"/>
</method></interface></node>"""
NO_WINDOW = "no window can be shown: the system lets this program open no more files (see ulimit -n)"


@contextmanager
def notifications(desktop):
    """What programs have the desktop say: (summary, text) each."""
    said = []
    connection = desktop.connect()

    def called(connection, sender, path, interface, method, parameters, invocation):
        said.append(parameters.unpack()[3:5])
        invocation.return_value(GLib.Variant("(u)", (1,)))

    def heard():
        while GLib.MainContext.default().iteration(False):
            pass
        return said

    interface = Gio.DBusNodeInfo.new_for_xml(NOTIFICATIONS_XML).interfaces[0]
    connection.register_object("/org/freedesktop/Notifications", interface, called, None, None)
    connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                         GLib.Variant("(su)", (NOTIFICATIONS, 4)), None, Gio.DBusCallFlags.NONE, 5000, None)
    yield heard
    connection.close_sync(None)


def ask_and_cancel(program, desktop):
    """By the keyboard: a screen reader would need descriptors of the program, too."""
    before = desktop.visible_windows()
    program.menu().row("New Pairing Code").click()
    wait_for(lambda: "Orvane" in desktop.visible_windows(), "the question")
    desktop.activate_window("Orvane")
    desktop.press_keys("Escape")
    wait_equal(desktop.visible_windows, before)


def test_with_every_descriptor_in_use_windows_come_from_the_reserve_and_without_one_are_refused_in_words(limited, desktop):
    menu = limited.menu()
    use_up_descriptors(limited)
    menu.row("Show Log").click()
    wait_equal(desktop.visible_windows, ["Orvane Server Log"])
    ask_and_cancel(limited, desktop)
    assert NO_WINDOW not in limited.faults.logged()

    give_back_descriptors(limited)  # All of it is in use again before the reserve is filled.
    use_up_descriptors(limited)
    desktop.close_window("Orvane Server Log")
    wait_equal(desktop.visible_windows, [])
    with notifications(desktop) as said:
        for count, title in enumerate(("Show Log", "New Pairing Code"), 1):
            menu.row(title).click()
            wait_for(lambda: limited.faults.logged().count(NO_WINDOW) == count, "the sentence in the system's log")
            wait_equal(lambda: len(said()), count)
            assert timed(menu.about_to_show) < PROMPT
        assert said() == [("Orvane", NO_WINDOW)] * 2
    assert desktop.visible_windows() == []

    give_back_descriptors(limited)
    ask_and_cancel(limited, desktop)
    assert "session:" in limited.show_log().text()
    assert limited.launch.alive
    assert limited.quit() == 0


def data_mib(pid):
    """What it has of memory of its own, used or not: stacks of threads, the heap, what is mapped to be written."""
    return status_mib(pid, "VmData")


def test_with_64_mib_of_memory_it_does_all_its_work(running):
    show_phone(running)
    if sanitizer():
        pytest.skip("under a sanitizer the program has more memory from the beginning")
    resource.prlimit(running.pid, resource.RLIMIT_DATA, (64 << 20, 64 << 20))
    menu = running.menu()
    report = device_block(device_line("uid", "Loopback", 16)) + phone_block(*(session_line(index, f"P{index}") for index in range(64)))
    for round in range(times(3, 50)):
        running.launch.flood((report + "orvaned: buffer fine\n" * 2000).encode(), 50)
        running.launch.say(report)
        menu.row("Phones: 64").open()[round].open()[3].click()
        wait_equal(lambda: (channels(running) or b"").count(b"\n"), round + 1)
        assert " → channels " in running.show_log().text()
        menu.row("New Pairing Code").click()
        wait_for_dialog(running.pid, "Generate a new pairing code?").press("Cancel")
        wait_for_no_dialog(running.pid)
        menu.row("Restart Server").click()
        running.launch = running.server.next_launch()
    print(f"{data_mib(running.pid):.0f} MiB of its own, {resident_mib(running.pid):.0f} MiB resident")
    assert resident_mib(running.pid) < 64
    assert running.quit() == 0
