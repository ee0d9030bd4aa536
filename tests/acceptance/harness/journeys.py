"""Ways through the program, from a user's first look to Quit, with the same steps and the same expectations on every system.

Each journey gets a hand: what sees and moves the built program there (the acceptance tests': a panel and a screen reader; on a Mac:
tests/macos/drive-app). A hand has
  shown(row)                     a row of harness/expected.py as this system shows it
  rows(*path)                    the visible rows of the menu that is reached through the rows whose titles begin so
  open(), close()                the menu is on the screen, and no longer
  choose(*path)                  the user clicks that row
  icon()                         whether it is green, and the text that goes with it
  say(text)                      the server prints this, in one write
  next_server()                  waits for another launch of the server; the one before is gone by then
  server_stays()                 nothing of the kind happens for a moment
  make_server_stubborn()         from now on it takes no notice of being asked to end
  question()                     waits for a dialog: its text, what is said further, and its buttons
  answer(button)                 presses one, and waits until the dialog has gone
  log()                          the text of the log window, None while none is shown
  setting(name)                  the bytes of a settings file, None when there is none
  clipboard(), copy(text)        what another program would paste; another program puts a text there
  end()                          waits for the program's end, and the server's: its exit status
and on a machine with a Bluetooth phone, Pixel, that offers Orvane
  attach()                       the phone asks for its place; returns once the program has connected it to the server
  hang_up()                      the phone goes."""

import time

from .expected import (AT_START, BREW, KITCHEN, KITCHEN_DETAILS, LINE, LOOPBACK, MISSING_DEVICE, NEW_CODE, NO_BLUETOOTH_PHONE, WAITING,
                       Question, Row)
from .lines import device_block, device_line, phone_block, session_line
from .waiting import stays, wait_equal, wait_for


def expect_rows(hand, path, rows):
    wait_equal(lambda: hand.rows(*path), [hand.shown(row) for row in rows])


def expect_first(hand, title):
    wait_equal(lambda: hand.rows()[0].title, title)


def expect_log(hand, text):
    wait_for(lambda: text in (hand.log() or ""), f"{text!r} in the log")


def expect_question(hand, question):
    seen = hand.question()
    assert Question(*seen) == question, seen


def first_look(hand):
    expect_rows(hand, [], AT_START)
    expect_rows(hand, ["Bluetooth"], NO_BLUETOOTH_PHONE)
    wait_equal(hand.icon, (False, WAITING))


def a_phone_comes_and_is_given_other_channels(hand):
    hand.say(device_block(LOOPBACK) + phone_block(KITCHEN) + "phone=yes\n")
    expect_first(hand, "● 1 phone connected")
    wait_equal(hand.icon, (True, "● 1 phone connected"))
    expect_rows(hand, ["Phones: 1"], [Row("Kitchen   →   ch 3–4  ⚠ 3")])
    expect_rows(hand, ["Phones: 1", "Kitchen"], KITCHEN_DETAILS)

    hand.choose("Phones: 1", "Kitchen", "5–6")
    wait_equal(lambda: hand.setting("channels"), b"7=2\n")
    assert hand.server_stays()
    hand.say("phone=waiting\n" + phone_block())
    wait_equal(hand.icon, (False, WAITING))
    wait_equal(lambda: [row.title for row in hand.rows() if row.title.startswith("Phones")], ["Phones: none connected"])


def an_open_menu_keeps_its_lists(hand):
    hand.say(device_block(LOOPBACK) + phone_block(session_line(1, "Kitchen")))
    expect_rows(hand, ["Phones: 1"], [Row("Kitchen   →   ch 1–2")])
    hand.open()
    hand.say(phone_block(session_line(1, "Kitchen"), session_line(2, "Desk", 3)) + "phone=yes\n")
    expect_first(hand, "● 2 phones connected")
    expect_rows(hand, ["Phones: "], [Row("Kitchen   →   ch 1–2")])
    hand.close()
    expect_rows(hand, ["Phones: 2"], [Row("Kitchen   →   ch 1–2"), Row("Desk   →   ch 3–4")])


def a_new_pairing_code(hand):
    hand.say("pairing code: 12 34_&\n")
    wait_equal(lambda: hand.rows()[2].title, "Pairing code: 12 34_&   (click to copy)")
    hand.choose("Pairing code: 12")
    wait_equal(hand.clipboard, "12 34_&")

    hand.choose("New Pairing Code…")
    expect_question(hand, NEW_CODE)
    hand.say("phone=yes\n")
    expect_first(hand, "● 0 phones connected")  # The menu goes on meanwhile.
    hand.answer("Cancel")
    assert hand.server_stays()

    hand.choose("New Pairing Code…")
    expect_question(hand, NEW_CODE)
    hand.answer("Generate")
    hand.next_server()
    wait_equal(lambda: hand.rows()[2].title, "Pairing code: …")
    hand.choose("Show Log")
    expect_log(hand, "\n— generating a new pairing code —\n\n— restarting server —\n")


def no_audio_device(hand):
    hand.copy("before")
    hand.say(device_block())
    wait_for(lambda: any(row.title == "⚠ No audio device — Install BlackHole…" for row in hand.rows()), "the row on the missing device")
    hand.choose("⚠ No audio device")
    expect_question(hand, MISSING_DEVICE)
    hand.answer("Cancel")
    assert stays(lambda: hand.clipboard() == "before", 0.2)
    hand.choose("⚠ No audio device")
    expect_question(hand, MISSING_DEVICE)
    hand.answer("Copy Homebrew Command")
    wait_equal(hand.clipboard, BREW)


def another_audio_device(hand):
    hand.say(device_block(device_line("first", "One & Two", 16), device_line("second", "Other _", 4, active=False)))
    expect_rows(hand, ["Audio device: One & Two  ·  8 phone slots"],
                [Row("One & Two", checked=True), Row("Other _"), LINE, Row("Install BlackHole…")])
    hand.choose("Audio device: ", "Other _")
    wait_equal(lambda: hand.setting("device"), b"uid=second\nchannel=0\nalign=1\n")
    hand.next_server()


def the_log(hand):
    hand.say("one\n\x1b[31m<b>two</b> %s\n")
    assert hand.log() is None
    hand.choose("Show Log")
    expect_log(hand, "[31m<b>two</b> %s\n")
    hand.say("three\n")
    expect_log(hand, "%s\nthree\n")


def a_bluetooth_phone(hand):
    expect_rows(hand, ["Bluetooth: choose a phone…"], [Row("Off", checked=True), LINE, Row("Pixel")])
    hand.choose("Bluetooth", "Pixel")
    hand.attach()
    wait_equal(lambda: hand.rows()[6].title, "Bluetooth: streaming from Pixel")
    expect_rows(hand, ["Bluetooth"], [Row("Off"), LINE, Row("Pixel", checked=True)])
    hand.choose("Show Log")
    expect_log(hand, "Bluetooth link live — Pixel\n")
    hand.hang_up()
    wait_for(lambda: hand.rows()[6].title != "Bluetooth: streaming from Pixel", "the row to tell that the phone has gone")
    hand.choose("Bluetooth", "Off")
    wait_equal(lambda: hand.rows()[6].title, "Bluetooth: choose a phone…")


def a_stubborn_server_is_restarted(hand):
    hand.make_server_stubborn()
    begin = time.monotonic()
    hand.choose("Restart Server")
    hand.next_server()
    assert time.monotonic() - begin < 10
    expect_rows(hand, [], AT_START)


def beside_the_stand_in_server(hand):
    def places():
        return [row.title.split("  ⚠")[0] for row in hand.rows("Phones: 2")]  # It pretends dropouts now and then.

    expect_first(hand, "● 2 phones connected")
    wait_equal(places, ["Kitchen   →   ch 1–2", "Desk   →   ch 3–4"])
    hand.choose("Phones: 2", "Kitchen", "7–8")
    wait_for(lambda: places()[0] == "Kitchen   →   ch 7–8", "the phone to move")
    hand.choose("Quit Orvane")
    assert hand.end() == 0


def quitting(hand):
    expect_rows(hand, [], AT_START)
    hand.choose("Quit Orvane")
    assert hand.end() == 0


JOURNEYS = [first_look, a_phone_comes_and_is_given_other_channels, an_open_menu_keeps_its_lists, a_new_pairing_code, no_audio_device,
            another_audio_device, the_log, a_stubborn_server_is_restarted, quitting]
BLUETOOTH_JOURNEYS = [a_bluetooth_phone]
STAND_IN_JOURNEYS = [beside_the_stand_in_server]
# How quick the stand-in server is on these.
STAND_IN = {"ORVANED_ARRIVE": "0.2", "ORVANED_REPORT": "0.2"}
