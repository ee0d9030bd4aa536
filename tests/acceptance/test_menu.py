"""The status menu as a panel sees it."""

import pytest

from harness.expected import AT_START, NO_BLUETOOTH_PHONE, WAITING
from harness.lines import device_block, device_line, phone_block, session_line
from harness.waiting import stays, wait_equal, wait_for

AWKWARD_NAMES = [
    "R&D _x",
    "a & b && c __ d_",
    "_&_&",
    "🎤 Zoë 日本",
    "שלום לך",
    "<b>bold</b> &amp; &#65;",
    "%s %1 \\n",
    "...",
    "",
]
# What is no text has a stand-in, so that a name can neither steer the panel nor look like another.
STAND_INS = {
    "tab\there": "tab␉here",
    "\u202egnol": "\ufffdgnol",
    "bell\a escape\x1b[31mred": "bell␇ escape␛[31mred",
    "Pix\u200bel": "Pix\ufffdel",
}


def describe(rows):
    return [(row.title, row.enabled) for row in rows]


def test_the_rows_at_start_are_in_order_with_their_titles_and_states(running):
    menu = running.menu()
    menu.row("Bluetooth: choose a phone…")
    wait_equal(lambda: describe(menu.rows()), [(row.title, row.enabled) for row in AT_START])


def test_only_keep_phones_in_sync_is_a_choice_and_it_is_checked_at_start(running):
    rows = running.menu().rows()
    assert [row.title for row in rows if row.checkable] == ["Keep phones in sync"]
    assert [row.title for row in rows if row.checked] == [row.title for row in AT_START if row.checked]


def test_three_rows_have_key_equivalents(running):
    shortcuts = {row.title: row.shortcut for row in running.menu().rows() if row.shortcut}
    assert shortcuts == {row.title: [["Control", row.key]] for row in AT_START if row.key}


def test_the_volume_row_is_there_but_hidden_between_the_device_and_the_log(running):
    rows = running.menu().all_rows()
    hidden = [index for index, row in enumerate(rows) if not row.visible]
    assert hidden == [12]
    assert rows[11].title == "Audio device: …"


def test_the_bluetooth_submenu_of_a_machine_without_bluetooth_offers_off_and_says_how_to_begin(running):
    menu = running.menu()
    rows = menu.row("Bluetooth: choose a phone…").open()
    assert [(row.title, row.enabled, row.checked) for row in rows] == [
        (row.title, row.enabled, row.checked) for row in NO_BLUETOOTH_PHONE]


@pytest.mark.parametrize("lines, status, green", [
    ("phone=yes\n", "● 0 phones connected", True),
    (phone_block(session_line(1, "A")) + "phone=yes\n", "● 1 phone connected", True),
    (phone_block(session_line(1, "A"), session_line(2, "B", 3)) + "phone=yes\n", "● 2 phones connected", True),
    ("routing to default-output\nphone=yes\n", "● 0 phones (⚠ no audio device)", True),
    ("routing to default-output\nphone=waiting\n", "○ Waiting (⚠ no audio device)", False),
    ("routing to default-output\nrouting to VIRTUAL\nphone=waiting\n", WAITING, False),
    ("pairing: REJECTED\n", "⚠ Phone used the wrong pairing code", False),
    ("pairing: too many wrong codes\n", "⚠ Too many wrong codes — paused", False),
])
def test_each_status_line_of_the_server_shows_its_text_its_icon_and_its_tooltip(running, lines, status, green):
    menu = running.menu()
    if not green:  # so that a change is seen
        running.launch.say("phone=yes\n")
        wait_for(running.item().is_green, "the green icon")
    running.launch.say(lines)
    wait_equal(lambda: menu.status, status)
    wait_for(lambda: running.item().is_green() == green, "the right icon")
    wait_equal(running.item().tooltip, status)


def test_the_icon_is_seen_on_light_and_on_dark_panels(running):
    wait_equal(lambda: running.menu().status, WAITING)
    _, pixels = running.item().pixels()
    opaque = [pixel for pixel in pixels if pixel[0] > 200]
    assert len(opaque) > 40, "there is an icon at all"
    brightness = sorted((red + green + blue) / 3 for _, red, green, blue in opaque)
    for panel in (0, 255):
        assert max(abs(value - panel) for value in brightness) > 80


def test_the_icon_is_sharp_at_its_largest(running):
    """Few pixels are neither shape nor ground."""
    running.launch.say("phone=yes\n")
    wait_for(running.item().is_green, "the green icon")
    width, pixels = running.item().pixels()
    between = sum(32 < alpha < 224 for alpha, _, _, _ in pixels)
    assert width >= 64 and between < 20 / width * sum(alpha >= 224 for alpha, _, _, _ in pixels)


def test_the_pairing_code_row_names_the_code(running):
    running.launch.say("orvaned: pairing code: \t 123 456 \n")
    wait_equal(lambda: running.menu().rows()[2].title, "Pairing code: 123 456   (click to copy)")


@pytest.mark.parametrize("name", [*AWKWARD_NAMES, *STAND_INS])
def test_a_name_acts_as_nothing_but_text(running, name):
    shown = STAND_INS.get(name, name)
    running.launch.say(device_block(device_line("uid", name, 2)) + phone_block(session_line(7, name)))
    menu = running.menu()
    wait_equal(lambda: menu.row("Audio device: ").title, f"Audio device: {shown}")
    assert menu.row("Audio device: ").open()[0].title == shown
    assert menu.row("Phones: ").open()[0].title == f"{shown}   →   ch 1–2"


def test_a_pairing_code_and_a_model_with_markers_are_literal(running):
    running.launch.say("pairing code: a_b & c\n")
    running.menu().row("Pairing code: a_b & c   (click to copy)")


@pytest.mark.parametrize("count", [0, 1, 2, 8, 64])
def test_so_many_phones_are_listed_in_the_servers_order(running, count):
    names = [f"Phone {count - index}" for index in range(count)]
    # From one phone to as many as wanted: none at all is told apart from none yet.
    running.launch.say(phone_block(session_line(99, "first")))
    running.menu().row("Phones: 1 connected")
    running.launch.say(phone_block(*(session_line(index, name, 2 * index + 1) for index, name in enumerate(names))))

    menu = running.menu()
    if count == 0:
        row = menu.row("Phones: none connected")
        assert not row.has_submenu and not row.enabled
        return
    wait_equal(lambda: [row.title for row in menu.row("Phones: ").open()],
               [f"{name}   →   ch {2 * index + 1}–{2 * index + 2}" for index, name in enumerate(names)])
    assert menu.row("Phones: ").title == f"Phones: {count} connected"
    assert menu.row("Keep phones in sync").enabled == (count >= 2)


@pytest.mark.parametrize("count", [0, 1, 2, 8, 64])
def test_so_many_devices_are_listed_in_the_servers_order(running, count):
    lines = [device_line(f"uid{index}", f"Device {count - index}", 16, active=index == count - 1)
             for index in range(count)]
    running.launch.say(device_block(*lines))
    menu = running.menu()
    if count == 0:
        row = menu.row("⚠ No audio device — Install BlackHole…")
        assert row.enabled and not row.has_submenu
        return
    assert menu.row("Audio device: Device").title == "Audio device: Device 1  ·  8 phone slots"
    rows = menu.row("Audio device: ").open()
    assert [(row.title, row.checked) for row in rows] == [
        *((f"Device {count - index}", index == count - 1) for index in range(count)),
        ("—", False),
        ("Install BlackHole…", False),
    ]
    assert [row.checkable for row in rows[:count]] == [True] * count


def test_nothing_is_replaced_while_the_menu_is_open_and_everything_is_shown_when_it_has_closed(running):
    running.launch.say(phone_block(session_line(1, "Kitchen")) + device_block(device_line("a", "First", 2)))
    menu = running.menu()
    menu.row("Audio device: First")
    menu.open()
    before = [(row.id, row.title) for row in menu.row("Phones: 1").open()]
    devices_before = [(row.id, row.title) for row in menu.row("Audio device: First").open()]
    running.tray.menu_signals.clear()

    running.launch.say(phone_block(session_line(1, "Kitchen"), session_line(2, "Desk", 3)) + "phone=yes\n" +
                       device_block(device_line("b", "Second", 2)))
    wait_equal(lambda: menu.status, "● 2 phones connected")  # the status line is no part of the gate
    assert [(row.id, row.title) for row in menu.find("Phones: 1").open()] == before
    assert [(row.id, row.title) for row in menu.find("Audio device: First").open()] == devices_before

    menu.close()
    wait_equal(lambda: [row.title for row in menu.row("Phones: 2 connected").open()],
               ["Kitchen   →   ch 1–2", "Desk   →   ch 3–4"])
    assert menu.row("Audio device: Second").open()[0].title == "Second"


def test_figures_alone_never_change_the_menu(running):
    running.launch.say(phone_block(session_line(1, "Kitchen", packets=1)))
    menu = running.menu()
    menu.row("Phones: 1")
    revision = menu.revision()
    running.tray.menu_signals.clear()
    for packets in range(2, 200):
        running.launch.say(phone_block(session_line(1, "Kitchen", packets=packets, buffer=packets, rtt=packets)))
    running.launch.say("pairing code: done\n")
    menu.row("Pairing code: done")
    assert menu.revision() == revision
    assert [name for name, _ in running.tray.menu_signals if name == "LayoutUpdated"] == []


def test_the_rows_that_stay_keep_their_identity_and_one_that_begins_to_lead_on_is_another(running):
    menu = running.menu()
    menu.row("Bluetooth: choose")
    leading = (8, 11)  # Phones and devices
    before = [row.id for row in menu.all_rows()]
    for count in (1, 3, 0, 2):
        running.launch.say(phone_block(*(session_line(index, f"P{index}") for index in range(count))))
        running.launch.say(device_block(*(device_line(f"u{index}") for index in range(count))))
        running.launch.say(f"pairing code: {count}\n")
        menu.row(f"Pairing code: {count}")
        after = [row.id for row in menu.all_rows()]
        stayed = [index for index in range(len(before)) if after[index] == before[index]]
        assert [index for index in range(len(before)) if index not in stayed] == ([] if count == 3 else list(leading))
        before = after


def test_a_list_that_is_rebuilt_keeps_the_rows_that_mean_the_same(running):
    running.launch.say(phone_block(session_line(1, "Kitchen"), session_line(2, "Desk", 3)))
    menu = running.menu()
    kitchen, desk = menu.row("Phones: 2").open()
    rows = [row.id for row in menu.rows(desk.id)]
    running.launch.say(phone_block(session_line(3, "Hall"), session_line(2, "Desk", 5)))
    wait_equal(lambda: [row.title for row in menu.row("Phones: 2").open()], ["Hall   →   ch 1–2", "Desk   →   ch 5–6"])
    hall, still = menu.row("Phones: 2").open()
    assert still.id == desk.id and hall.id != kitchen.id
    assert [row.id for row in menu.rows(desk.id)] == rows


def test_nothing_is_said_on_the_bus_when_nothing_has_changed(running):
    running.launch.say(phone_block(session_line(1, "Kitchen")) + device_block(device_line("a", "First", 2)))
    menu = running.menu()
    menu.row("Audio device: First").open()
    running.tray.menu_signals.clear()
    # An empty device list in between is rebuilt each time, Bluetooth every three seconds.
    for _ in range(20):
        running.launch.say(phone_block(session_line(1, "Kitchen")) + device_block(device_line("a", "First", 2)))
    assert stays(lambda: running.tray.menu_signals == [], 3.5)


def test_a_panel_that_reads_one_level_at_a_time_has_read_each_submenu_before_it_is_opened(running):
    menu = running.menu(levels=1)
    running.launch.say(phone_block(session_line(1, "Kitchen")))
    phones = menu.row("Phones: 1 connected")
    wait_equal(lambda: menu.titles(phones.id), ["Kitchen   →   ch 1–2"])
    kitchen = menu.rows(phones.id)[0]
    wait_for(lambda: "Send to channels" in menu.titles(kitchen.id), "the details")


def test_a_panel_that_never_says_opened_or_closed_sees_everything_at_once(running):
    running.launch.say(phone_block(session_line(1, "Kitchen", packets=1)))
    menu = running.menu(silent=True)
    menu.row("Phones: 1 connected")
    menu.open()
    running.launch.say(phone_block(session_line(1, "Kitchen", packets=2), session_line(2, "Desk", 3)) + "phone=yes\n")
    wait_equal(lambda: menu.status, "● 2 phones connected")
    menu.row("Phones: 2 connected")
    menu.open()
    kitchen = menu.row("Phones: 2 connected").open()[0]
    assert menu.rows(kitchen.id)[-2].title == "Dropouts 0 · packets 2", "one look at the menu brings everything below it up to date"


def test_a_word_that_the_panel_has_lost_holds_nothing_back_for_long(running):
    running.launch.say(phone_block(session_line(1, "Kitchen")))
    menu = running.menu()
    menu.row("Phones: 1 connected")
    menu.open()
    running.launch.say(phone_block(session_line(1, "Kitchen"), session_line(2, "Desk", 3)) + "phone=yes\n")
    wait_equal(lambda: menu.status, "● 2 phones connected")
    assert menu.find("Phones: 1 connected")
    menu.open()
    menu.row("Phones: 2 connected")


def test_details_are_there_before_they_are_opened_and_change_in_place(running):
    running.launch.say(phone_block(session_line(1, "Kitchen", packets=1)))
    menu = running.menu()
    menu.open()
    phone = menu.row("Phones: 1").open()[0]
    before = menu.rows(phone.id)
    assert before[-2].title == "Dropouts 0 · packets 1"
    running.launch.say(phone_block(session_line(1, "Kitchen", packets=2)) + "pairing code: 2\n")
    menu.row("Pairing code: 2")
    after = phone.open()
    assert after[-2].title == "Dropouts 0 · packets 2"
    assert [row.id for row in after] == [row.id for row in before]


def test_idling_costs_next_to_nothing(running):
    from harness.processes import cpu_seconds

    wait_equal(lambda: running.menu().status, WAITING)
    before = cpu_seconds(running.pid)
    assert stays(lambda: running.alive, 3)
    assert cpu_seconds(running.pid) - before < 0.15
