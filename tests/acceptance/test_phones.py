"""The phone submenu: rows, details, channels and alignment."""

import pytest

from harness.expected import KITCHEN, KITCHEN_DETAILS, LOOPBACK
from harness.lines import device_block, device_line, phone_block, session_line
from harness.waiting import wait_equal, wait_for


def details(menu, phone=0):
    """Opens the submenus down to one phone's and returns its rows."""
    menu.open()
    rows = menu.row("Phones: ").open()[phone].open()
    return rows


def say_phones(program, *lines):
    """And waits until they have been taken in."""
    program.launch.say(phone_block(*lines))
    program.said = getattr(program, "said", 0) + 1
    program.launch.say(f"pairing code: said {program.said}\n")
    program.menu().row(f"Pairing code: said {program.said} ")


def test_the_row_of_a_phone_with_dropouts_carries_a_warning(running):
    say_phones(running, session_line(1, "Kitchen", 3, xruns=2), session_line(2, "Desk", 5))
    rows = running.menu().row("Phones: 2").open()
    assert [row.title for row in rows] == ["Kitchen   →   ch 3–4  ⚠ 2", "Desk   →   ch 5–6"]
    assert all(row.enabled and row.has_submenu for row in rows)


def test_further_dropouts_change_the_details_only(running):
    say_phones(running, session_line(1, "Kitchen", xruns=2))
    say_phones(running, session_line(1, "Kitchen", xruns=5))
    menu = running.menu()
    assert menu.row("Phones: 1").open()[0].title == "Kitchen   →   ch 1–2  ⚠ 2"
    assert details(menu)[-2].title == "Dropouts 5 · packets 1000"


def test_the_details_are_in_order_and_only_the_channel_rows_can_be_chosen(running):
    running.launch.say(device_block(LOOPBACK))
    say_phones(running, KITCHEN)
    rows = details(running.menu())
    assert [(row.title, row.enabled, row.checked) for row in rows] == [
        (row.title, row.enabled, row.checked) for row in KITCHEN_DETAILS]


def test_without_an_active_device_there_is_one_pair_of_channels(running):
    running.launch.say(device_block(device_line("uid", "Loopback", 16, active=False)))
    say_phones(running, session_line(7, "Kitchen"))
    titles = [row.title for row in details(running.menu())]
    assert titles[:3] == ["Send to channels", "1–2", "—"]


def test_sixteen_channels_are_eight_pairs(running):
    running.launch.say(device_block(device_line("uid", "Loopback", 16)))
    say_phones(running, session_line(7, "Kitchen"))
    titles = [row.title for row in details(running.menu())]
    assert titles[1:9] == [f"{2 * pair + 1}–{2 * pair + 2}" for pair in range(8)]


def test_unmeasured_times_have_no_row(running):
    say_phones(running, session_line(7, "Kitchen", net="-1", rtt="0.0"))
    assert not [row for row in details(running.menu()) if row.title.startswith(("Network", "Round"))]


def test_a_network_delay_of_nothing_is_shown(running):
    say_phones(running, session_line(7, "Kitchen", net="0.0", rtt="0.0"))
    assert [row.title for row in details(running.menu()) if row.title.startswith(("Network", "Round"))] == [
        "Network delay 0.0 ms"]


def test_a_submenu_opened_again_shows_the_latest_figures_though_the_menu_stayed_open(running):
    say_phones(running, session_line(7, "Kitchen", packets=1))
    menu = running.menu()
    menu.open()
    phone = menu.row("Phones: ").open()[0]
    assert phone.open()[-2].title == "Dropouts 0 · packets 1"
    phone.close()
    say_phones(running, session_line(7, "Kitchen", packets=2, first=3))
    assert phone.open()[-2].title == "Dropouts 0 · packets 2"


def test_choosing_channels_writes_the_file_logs_a_line_and_restarts_nothing(running):
    running.launch.say(device_block(device_line("uid", "Loopback", 16)))
    say_phones(running, session_line(7, "Kitchen"), session_line(12, "Desk", 3))
    menu = running.menu()
    details(menu, 0)[2].click()
    wait_equal(lambda: read(running.settings("channels")), b"7=1\n")
    details(menu, 1)[1].click()
    wait_equal(lambda: read(running.settings("channels")), b"12=0\n7=1\n")
    details(menu, 0)[4].click()
    wait_equal(lambda: read(running.settings("channels")), b"12=0\n7=3\n")

    log = running.show_log()
    wait_for(lambda: "\n— 7 → channels 7–8 —\n" in log.text(), "the log line")
    assert "\n— 7 → channels 3–4 —\n" in log.text() and "\n— 12 → channels 1–2 —\n" in log.text()
    assert "restarting" not in log.text()
    assert running.launch.alive and not running.server.launched_again(within=0.3)
    assert not running.settings("device").exists()


def test_the_mark_follows_what_the_server_reports(running):
    running.launch.say(device_block(device_line("uid", "Loopback", 16)))
    say_phones(running, session_line(7, "Kitchen"))
    menu = running.menu()
    details(menu)[2].click()
    wait_for(running.settings("channels").exists, "the file")
    assert [row.title for row in details(menu) if row.checked] == ["1–2"]
    menu.close()
    say_phones(running, session_line(7, "Kitchen", 3))
    assert [row.title for row in details(menu) if row.checked] == ["3–4"]


def test_choosing_the_checked_pair_again_writes_the_file_anew(running):
    say_phones(running, session_line(7, "Kitchen"))
    menu = running.menu()
    details(menu)[1].click()
    first = wait_for(lambda: running.settings("channels").exists() and running.settings("channels").stat().st_ino,
                     "the file")
    details(menu)[1].click()
    wait_for(lambda: running.settings("channels").stat().st_ino != first, "another file in its place")
    assert read(running.settings("channels")) == b"7=0\n"


def test_the_choices_of_phones_that_have_gone_are_kept(running):
    say_phones(running, session_line(7, "Kitchen"), session_line(8, "Desk"))
    menu = running.menu()
    details(menu, 0)[1].click()
    wait_equal(lambda: read(running.settings("channels")), b"7=0\n")
    menu.close()
    say_phones(running, session_line(8, "Desk"))
    menu.row("Phones: 1")
    details(menu, 0)[1].click()
    wait_equal(lambda: read(running.settings("channels")), b"7=0\n8=0\n")


@pytest.mark.parametrize("device, text", [
    (None, b"uid=\nchannel=0\nalign=0\n"),
    (device_line("Loopback_UID", "Loopback", 16, True, 3), b"uid=Loopback_UID\nchannel=3\nalign=0\n"),
])
def test_switching_alignment_writes_the_device_file_logs_and_restarts_the_server(running, device, text):
    if device:
        running.launch.say(device_block(device))
        running.menu().row("Audio device: Loopback")
    menu = running.menu()
    menu.row("Keep phones in sync").click()
    wait_equal(lambda: read(running.settings("device")), text)
    second = running.server.next_launch()
    assert not running.launch.alive
    assert not menu.row("Keep phones in sync").checked

    log = running.show_log()
    wait_for(lambda: "\n— stream alignment off —\n\n— restarting server —\n" in log.text(), "the log lines")
    assert "exited" not in log.text()

    running.launch = second
    menu.row("Keep phones in sync").click()
    wait_equal(lambda: read(running.settings("device")), text.replace(b"align=0", b"align=1"))
    running.server.next_launch()
    wait_for(lambda: "\n— stream alignment on —\n" in log.text(), "the log line")
    assert menu.row("Keep phones in sync").checked


def test_the_servers_word_moves_the_mark_of_alignment(running):
    menu = running.menu()
    running.launch.say("align=off\n")
    wait_for(lambda: not menu.row("Keep phones in sync").checked, "the mark to go")
    running.launch.say("align=on\n")
    wait_for(lambda: menu.row("Keep phones in sync").checked, "the mark to come back")


def test_a_row_that_is_disabled_cannot_be_chosen(running):
    say_phones(running, session_line(7, "Kitchen"))
    menu = running.menu()
    wait_for(lambda: not menu.row("Keep phones in sync").enabled, "the row to be disabled for one phone")
    menu.row("Keep phones in sync").click()
    say_phones(running, session_line(7, "Kitchen"))
    assert menu.row("Keep phones in sync").checked and not running.settings("device").exists()


def read(path):
    return path.read_bytes() if path.exists() else None
