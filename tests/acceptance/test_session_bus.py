"""What any program on the session bus may say to the icon and the menu: calls of the wrong types, of rows that there are not, without measure."""

import os
import random

import pytest
from gi.repository import Gio, GLib

from harness.installation import allowed_mib
from harness.processes import descriptors, resident_mib
from harness.lines import device_block, device_line, phone_block, session_line
from harness.waiting import wait_equal, wait_for

ITEM = ("/StatusNotifierItem", "org.kde.StatusNotifierItem")
MENU = ("/MenuBar", "com.canonical.dbusmenu")
PROPERTIES = "org.freedesktop.DBus.Properties"
SEED = int(os.environ.get("ORVANE_SEED", random.randrange(10**6)))
ODD_NUMBERS = [0, 1, -1, 2, 7, 10**9, 2**31 - 1, -2**31]
ODD_TEXTS = ["", "x", "label", "opened", "closed", "hovered", "clicked", "\u202e\x1b[2J", "é" * 2000, "%s%n%n", "../../etc/passwd"]


def deep(levels):
    value = GLib.Variant("s", "x")
    for _ in range(levels):
        value = GLib.Variant("v", value)
    return value


def odd_value(chance):
    """A variant of any type."""
    kinds = [lambda: GLib.Variant("i", chance.choice(ODD_NUMBERS)), lambda: GLib.Variant("s", chance.choice(ODD_TEXTS)),
             lambda: GLib.Variant("ai", [chance.choice(ODD_NUMBERS) for _ in range(chance.choice([0, 1, 500]))]),
             lambda: GLib.Variant("as", [chance.choice(ODD_TEXTS[:6])] * chance.choice([0, 1, 500])), lambda: GLib.Variant("d", float("nan")),
             lambda: GLib.Variant("a{sv}", {"label": GLib.Variant("b", True)}), lambda: deep(40), lambda: GLib.Variant("o", "/x"),
             lambda: GLib.Variant("a(isvu)", [(1, "opened", GLib.Variant("s", ""), 0)]), lambda: GLib.Variant("ay", b"\0" * 1000)]
    return chance.choice(kinds)()


def harmless_event(chance, last_row):
    """Anything but a click on a row that there is: that would be the user's."""
    name = chance.choice(ODD_TEXTS)
    row = chance.choice([*range(last_row + 1), *ODD_NUMBERS])
    if name == "clicked" and 0 < row <= 10**6:
        row = -row
    return row, name


def well_typed(chance, last_row):
    """(path, interface, method, arguments) as the interfaces say, with odd values."""
    number = lambda: chance.choice([*ODD_NUMBERS, chance.randint(0, last_row)])  # noqa: E731
    numbers = [number() for _ in range(chance.choice([0, 1, 3, 300]))]
    row, name = harmless_event(chance, last_row)
    event = (row, name, odd_value(chance), chance.choice([0, 2**32 - 1]))
    return chance.choice([
        (*MENU, "GetLayout", GLib.Variant("(iias)", (number(), number(), chance.choice([[], ["label"], ["x"] * 300])))),
        (*MENU, "GetGroupProperties", GLib.Variant("(aias)", (numbers, ["label", "x"]))),
        (*MENU, "GetProperty", GLib.Variant("(is)", (number(), chance.choice(ODD_TEXTS)))),
        (*MENU, "Event", GLib.Variant("(isvu)", event)),
        (*MENU, "EventGroup", GLib.Variant("(a(isvu))", ([event] * chance.choice([0, 1, 50]),))),
        (*MENU, "AboutToShow", GLib.Variant("(i)", (number(),))),
        (*MENU, "AboutToShowGroup", GLib.Variant("(ai)", (numbers,))),
        (*ITEM, "Scroll", GLib.Variant("(is)", (number(), chance.choice(ODD_TEXTS)))),
        (*ITEM, "ProvideXdgActivationToken", GLib.Variant("(s)", (chance.choice(ODD_TEXTS),))),
    ])


def odd_call(chance, last_row):
    """Any method of either object with any arguments; none that the interfaces know takes these."""
    path, interface = chance.choice([ITEM, MENU])
    method = chance.choice(["GetLayout", "Event", "EventGroup", "AboutToShow", "Activate", "ContextMenu", "deleteLater", "quit", "x"])
    arguments = [odd_value(chance) for _ in range(chance.choice([0, 1, 2, 5, 60]))]
    if method in ("Activate", "ContextMenu"):
        arguments = arguments[:1]
    return path, chance.choice([interface, "org.example.Other"]), method, GLib.Variant.new_tuple(*arguments)


def property_call(chance, last_row):
    path, interface = chance.choice([ITEM, MENU])
    name = chance.choice(["Status", "Menu", "IconPixmap", "ToolTip", "Version", "objectName", "x"])
    return chance.choice([(path, PROPERTIES, "Set", GLib.Variant("(ssv)", (interface, name, odd_value(chance)))),
                          (path, PROPERTIES, "Get", GLib.Variant("(ss)", (interface, name))),
                          (path, PROPERTIES, "GetAll", GLib.Variant("(s)", (chance.choice([interface, "", "x"]),)))])


def send(item, calls):
    """Sends them all, and waits for the answers to all, whatever they say."""
    left = len(calls)
    context = GLib.MainContext.default()

    def answered(connection, result):
        nonlocal left
        left -= 1
        try:
            connection.call_finish(result)
        except GLib.Error:
            pass

    for path, interface, method, arguments in calls:
        item.connection.call(item.service, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 60000, None, answered)
    while left:
        context.iteration(True)


def test_nothing_that_is_said_to_the_icon_or_the_menu_does_any_harm(running):
    print(f"ORVANE_SEED={SEED}")
    running.launch.say(device_block(device_line("uid", "Loopback", 16)) + phone_block(session_line(7, "Kitchen")))
    menu = running.menu()
    menu.row("Phones: 1")
    titles, item, chance = menu.titles(), running.item(), random.Random(SEED)
    before = None
    for round in range(5):
        makers = [well_typed, odd_call, property_call]
        send(item, [chance.choice(makers)(chance, 60) for _ in range(300)])
        assert running.alive
        if round == 1:
            before = resident_mib(running.pid), len(descriptors(running.pid))
    send(item, [(*MENU, "Event", GLib.Variant("(isvu)", (0, "closed", GLib.Variant("s", ""), 0)))])
    running.launch.say("phone=yes\n")
    wait_equal(lambda: menu.status, "● 1 phone connected")
    running.launch.say("phone=waiting\n")
    wait_equal(lambda: menu.titles(), titles)
    assert running.launch.alive, "no row was chosen"
    memory = resident_mib(running.pid)
    print(f"memory {before[0]:.1f} -> {memory:.1f} MiB")
    assert memory - before[0] < allowed_mib(8)
    # A child that has just been made takes some for a moment.
    wait_for(lambda: len(descriptors(running.pid)) <= before[1] + 2, "hardly more descriptors than at first")


@pytest.mark.parametrize("length", [4097, 200_000])
def test_an_activation_token_that_is_none_reaches_no_child(running, length):
    """The longest word that a new process may be given is 128 KiB: with a longer one no server would start again."""
    item = running.item()
    send(item, [(*ITEM, "ProvideXdgActivationToken", GLib.Variant("(s)", ("x" * length,)))])
    running.menu().row("Restart Server").click()
    launch = running.server.next_launch()
    assert b"XDG_ACTIVATION_TOKEN" not in launch.noted("environ")
