"""The audio device row and submenu, and the volume check against a real sound server."""

import time

import pytest

from harness.lines import device_block, device_line
from harness.processes import maps
from harness.sound import SoundServer
from harness.waiting import stays, wait_equal, wait_for


def read(path):
    return path.read_bytes() if path.exists() else None


def test_the_row_shows_the_active_device_with_its_slots(running):
    running.launch.say(device_block(device_line("a", "Two", 2, active=False), device_line("b", "Sixteen", 16)))
    assert running.menu().row("Audio device: S").title == "Audio device: Sixteen  ·  8 phone slots"


@pytest.mark.parametrize("channels, suffix", [(0, ""), (3, ""), (4, "  ·  2 phone slots"), (17, "  ·  8 phone slots")])
def test_slots_are_named_from_two_on(running, channels, suffix):
    running.launch.say(device_block(device_line("a", "Dev", channels)))
    assert running.menu().row("Audio device: D").title == f"Audio device: Dev{suffix}"


def test_without_an_active_device_the_first_is_shown_and_not_adopted(running):
    running.launch.say(device_block(device_line("a", "One", 2, False), device_line("b", "Two", 2, False)))
    menu = running.menu()
    menu.row("Audio device: One")
    menu.row("Keep phones in sync").click()
    wait_equal(lambda: read(running.settings("device")), b"uid=\nchannel=0\nalign=0\n")
    running.server.next_launch()


def test_choosing_a_device_writes_the_file_logs_and_restarts_the_server(running):
    running.launch.say(device_block(device_line("first", "One", 16, True, 5), device_line("sec ond", "Two", 16, False)))
    menu = running.menu()
    menu.row("Audio device: One").open()[1].click()
    wait_equal(lambda: read(running.settings("device")), "uid=sec ond\nchannel=0\nalign=1\n".encode())
    running.server.next_launch()
    assert not running.launch.alive
    log = running.show_log()
    wait_for(lambda: "\n— audio device set to sec ond, first phone on channels 1–2 —\n\n— restarting server —\n"
             in log.text(), "the log lines")


def test_choosing_the_device_in_use_does_all_of_it_again(running):
    running.launch.say(device_block(device_line("only", "One")))
    menu = running.menu()
    menu.row("Audio device: One").open()[0].click()
    running.server.next_launch()
    inode = running.settings("device").stat().st_ino
    menu.row("Audio device: One").open()[0].click()
    running.server.next_launch()
    assert running.settings("device").stat().st_ino != inode
    assert read(running.settings("device")) == b"uid=only\nchannel=0\nalign=1\n"


def test_an_awkward_uid_reaches_the_file_byte_for_byte(running):
    uid = "ü & 'q' \"d\" $HOME %s = x"
    running.launch.say(device_block(device_line(uid, "One")))
    running.menu().row("Audio device: One").open()[0].click()
    wait_equal(lambda: read(running.settings("device")), f"uid={uid}\nchannel=0\nalign=1\n".encode())
    running.server.next_launch()


def test_when_the_last_device_goes_the_row_offers_help(running):
    running.launch.say(device_block(device_line("a", "One")))
    menu = running.menu()
    menu.row("Audio device: One")
    running.launch.say("devices: 0\n")
    row = menu.row("⚠ No audio device — Install BlackHole…")
    assert row.enabled and not row.has_submenu
    assert not running.server.launched_again(within=0.3)


@pytest.fixture
def sound():
    sound = SoundServer(("loop", 16), ("other", 2))
    yield sound
    sound.close()


@pytest.fixture
def listening(program, tray, sound):
    """The program with a sound server that has the device "loop"."""
    program.start(tray=tray, PULSE_SERVER=sound.address)
    program.launch = program.server.next_launch()
    return program


def report(program, *lines):
    program.launch.say(device_block(*(lines or (device_line("loop", "BlackHole 16ch"),))))


def warning(program):
    return program.menu().find("⚠ ")


def test_the_library_for_sound_is_loaded_when_a_device_is_looked_at(listening):
    """It brings a dozen others."""
    listening.menu()
    assert "libpulse" not in maps(listening.pid)
    report(listening)
    wait_for(lambda: "libpulse.so" in maps(listening.pid), "the library")


def test_without_the_library_for_sound_the_menu_knows_no_volume(program, tray, sound):
    (program.folder / "libpulse.so.0").write_text("not a library")
    sound.set_output("loop", 50)
    program.start(tray=tray, PULSE_SERVER=sound.address, LD_LIBRARY_PATH=str(program.folder))
    program.launch = program.server.next_launch()
    report(program)
    assert program.menu().row("Audio device: B").title.startswith("Audio device: BlackHole 16ch")
    assert warning(program) is None


def test_half_volume_is_warned_of_and_fixed_by_a_click(listening, sound):
    sound.set_output("loop", 50)
    report(listening)
    row = listening.menu().row("⚠ ")
    assert (row.title, row.enabled) == ("⚠ BlackHole 16ch volume is 50% — click to set 100%", True)

    row.click()
    wait_equal(lambda: sound.output("loop"), {100})
    wait_for(lambda: warning(listening) is None, "the warning to go")
    log = listening.show_log()
    wait_for(lambda: "\n— set loop volume to 100% —\n" in log.text(), "the log line")
    assert listening.launch.alive


def test_full_volume_is_no_warning(listening, sound):
    report(listening)
    listening.menu().row("Audio device: BlackHole")
    assert warning(listening) is None


def test_the_input_side_counts_and_is_fixed_as_well(listening, sound):
    sound.set_input("loop", 30)
    report(listening)
    row = listening.menu().row("⚠ ")
    assert row.title == "⚠ BlackHole 16ch volume is 30% — click to set 100%"
    row.click()
    wait_equal(lambda: (sound.input("loop"), sound.output("loop")), ({100}, {100}))
    wait_for(lambda: warning(listening) is None, "the warning to go")


def test_the_lower_side_is_named(listening, sound):
    sound.set_input("loop", 60)
    sound.set_output("loop", 20)
    report(listening)
    assert "volume is 20%" in listening.menu().row("⚠ ").title


@pytest.mark.parametrize("volume, percent", [(0, "0%"), (0.5, "50%"), (0.98, "98%"), (0.9899, "99%")])
def test_below_99_percent_there_is_a_warning(listening, sound, volume, percent):
    sound.set_output_scalar("loop", volume)
    report(listening)
    assert f" volume is {percent} " in listening.menu().row("⚠ ").title


@pytest.mark.parametrize("volume", [0.9901, 1, 1.5])
def test_from_99_percent_on_there_is_none(listening, sound, volume):
    sound.set_output_scalar("loop", volume)
    report(listening)
    listening.menu().row("Audio device: BlackHole")
    assert warning(listening) is None


def test_every_report_of_the_devices_checks_the_volume_again(listening, sound):
    report(listening)
    listening.menu().row("Audio device: BlackHole")
    sound.set_output("loop", 40)
    report(listening)
    assert " 40% " in listening.menu().row("⚠ ").title
    sound.set_output("loop", 100)
    report(listening)
    wait_for(lambda: warning(listening) is None, "the warning to go")


def test_the_check_goes_on_while_the_menu_is_open(listening, sound):
    report(listening)
    menu = listening.menu()
    menu.row("Audio device: BlackHole")
    menu.open()
    sound.set_output("loop", 40)
    report(listening)
    menu.row("⚠ BlackHole 16ch volume is 40%")
    menu.close()


def test_an_unknown_device_is_never_warned_of(listening, sound):
    sound.set_output("loop", 50)
    report(listening, device_line("no such sink", "Elsewhere"))
    listening.menu().row("Audio device: Elsewhere")
    assert warning(listening) is None


def test_a_click_after_the_device_has_gone_leaves_the_warning(listening, sound):
    sound.set_output("loop", 50)
    report(listening)
    row = listening.menu().row("⚠ ")
    module = next(line.split()[0] for line in sound.ask("list", "short", "modules").splitlines() if "sink_name=loop" in line)
    sound.ask("unload-module", module)
    row.click()
    assert stays(lambda: warning(listening) is not None, 0.3)


def test_without_a_sound_server_there_is_no_warning_and_no_wait(running):
    begin = time.monotonic()
    running.launch.say(device_block(device_line("loop", "BlackHole 16ch")))
    running.menu().row("Audio device: BlackHole")
    assert time.monotonic() - begin < 2
    assert warning(running) is None


def test_a_stopped_sound_server_holds_up_nothing_and_is_used_again_when_it_goes_on(listening, sound):
    report(listening)
    listening.menu().row("Audio device: BlackHole")
    sound.set_output("loop", 50)
    sound.stop()
    begin = time.monotonic()
    report(listening, device_line("loop", "Renamed"), device_line("x", "Second", active=False))
    wait_equal(lambda: len(listening.menu().row("Audio device: Renamed").open()), 4)
    # Twice looked at for a new list: each look has a bound well under a second.
    assert time.monotonic() - begin < 3
    assert warning(listening) is None

    sound.go_on()

    def warned():
        report(listening, device_line("loop", "Renamed"), device_line("x", "Second", active=False))
        return warning(listening)

    wait_for(warned, "the warning when the sound server has woken up")


def test_a_click_while_the_sound_server_is_stopped_waits_for_a_bounded_time_only(listening, sound):
    sound.set_output("loop", 50)
    report(listening)
    row = listening.menu().row("⚠ ")
    sound.stop()
    begin = time.monotonic()
    row.click()
    assert warning(listening) is not None
    assert time.monotonic() - begin < 2
    sound.go_on()

    def fixed():
        row.click()
        return sound.output("loop") == {100}

    wait_for(fixed, "the fix when the sound server has woken up")


def test_a_sound_server_that_dies_and_comes_back_is_found_again(listening, sound):
    sound.set_output("loop", 50)
    report(listening)
    listening.menu().row("⚠ ")
    sound.kill()
    report(listening)
    wait_for(lambda: warning(listening) is None, "the warning to go")

    sound.start()
    sound.set_output("loop", 25)

    def warned():
        report(listening)
        return warning(listening)

    assert " 25% " in wait_for(warned, "the warning").title


def test_a_dead_sound_server_costs_no_processor_time(listening, sound):
    from harness.processes import cpu_seconds

    report(listening)
    listening.menu().row("Audio device: BlackHole")
    sound.kill()
    before = cpu_seconds(listening.pid)
    assert stays(lambda: listening.alive, 2)
    assert cpu_seconds(listening.pid) - before < 0.1
