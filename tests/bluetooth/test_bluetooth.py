"""Orvane and a phone over real Bluetooth: BlueZ, service discovery and RFCOMM, on two virtual controllers."""

import time

import pytest

import adapters
from audio_server import AudioServer
from conftest import PHONE_NAME
from harness.waiting import stays, wait_for
from pattern import pattern
from phone import Phone

STREAMING = f"streaming from {PHONE_NAME}"
LOOKING = f"looking for {PHONE_NAME}…"
CHOOSE = "choose a phone…"
NOBODY = ["[x] Off", "No phone is offering Orvane", "Open Orvane on the phone and choose Bluetooth"]


def test_a_connected_phone_that_offers_the_service_is_offered_and_can_be_chosen(program, phone, near_phone):
    phone.do("hide")
    program.start()
    program.wait_bluetooth(CHOOSE)
    program.wait_choices(*NOBODY)

    phone.do("publish")
    program.wait_choices("[x] Off", f"[ ] {PHONE_NAME}")

    program.choose(PHONE_NAME)
    phone.do("wait-link")
    program.wait_bluetooth(LOOKING)
    program.wait_choices("[ ] Off", f"[x] {PHONE_NAME}")
    assert program.chosen() == adapters.PHONE


def test_an_attached_phone_streams(streaming, linked):
    assert f"Bluetooth link live — {PHONE_NAME}" in linked.log()


def test_audio_reaches_the_server_and_its_answers_the_phone_unchanged(streaming, phone):
    amount = 200000
    phone.do(f"data {amount}")
    streaming.wait_received(amount)
    assert streaming.received == pattern(amount)

    streaming.send(pattern(amount))
    phone.do(f"expect-data {amount}")

    phone.do("data 70000 60000")
    streaming.send(pattern(5000, begin=amount))
    phone.do("expect-data 5000")
    streaming.wait_received(amount + 70000)
    assert streaming.received == pattern(amount + 70000)


def test_usb_stands_aside_while_the_phone_streams_and_comes_back(linked, phone, server):
    linked.adb.plug_in()
    linked.wait_usb("ready — Galaxy S23")
    wait_for(lambda: (linked.adb.folder / "tunnels").exists(), "the tunnel")

    phone.do("attach")
    linked.wait_usb("standing aside for Bluetooth — Galaxy S23")
    wait_for(lambda: not (linked.adb.folder / "tunnels").exists(), "the tunnel's end")

    phone.do("detach")
    linked.wait_usb("ready — Galaxy S23")
    linked.wait_bluetooth(LOOKING)
    wait_for(lambda: (linked.adb.folder / "tunnels").exists(), "the tunnel again")


def test_the_link_test_counts_every_byte_and_shows_in_the_menu(linked, phone):
    phone.do("linktest 1000 24 65536")
    linked.wait_bluetooth(f"testing the link to {PHONE_NAME}…")
    assert "got e 66560" in phone.lines


def test_a_detached_phone_keeps_its_link_and_can_attach_again(streaming, linked, phone, server):
    phone.do("detach")
    linked.wait_bluetooth(LOOKING)
    streaming.wait_ended()
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)
    server.next_connection()
    assert phone.count("linked") == 1


def test_a_server_that_closes_the_connection_leaves_the_link_up(streaming, linked, phone, server):
    streaming.close()
    linked.wait_bluetooth(LOOKING)
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)
    phone.do("data 1000")
    server.next_connection().wait_received(1000)
    assert phone.count("unlinked") == 0


def test_a_server_that_is_not_there_is_said_so_and_the_phone_may_try_again(linked, phone):
    phone.do("attach")
    linked.wait_bluetooth("the receiver is not accepting connections")
    with AudioServer() as server:
        phone.do("attach")
        linked.wait_bluetooth(STREAMING)
        server.next_connection()
    assert phone.count("unlinked") == 0


def test_a_phone_that_drops_the_link_is_found_again(streaming, linked, phone, server):
    phone.do("data 1000")
    phone.do("drop")
    linked.wait_bluetooth(LOOKING)
    streaming.wait_ended()
    assert streaming.received == pattern(1000)

    phone.do("wait-link")
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)
    server.next_connection()


def test_a_phone_that_drops_the_link_while_data_is_written_to_it_is_noticed(streaming, linked, phone):
    streaming.keep_sending()
    wait_for(lambda: phone.count("got d") >= 10, "data on its way", 60)
    phone.do("drop")
    streaming.wait_ended()
    linked.wait_bluetooth(LOOKING)
    phone.do("wait-link")


def test_a_bad_frame_ends_the_link_and_says_why(near_phone, linked, phone):
    phone.do("raw 6400010001")
    phone.do("wait-closed")
    linked.wait_bluetooth("bad frame from the phone")
    phone.do("wait-link")
    linked.wait_bluetooth("bad frame from the phone")


def test_off_ends_the_link(streaming, linked, phone):
    linked.choose("Off")
    linked.wait_bluetooth(CHOOSE)
    phone.do("wait-closed")
    streaming.wait_ended()
    assert linked.chosen() is None
    assert stays(lambda: phone.count("linked") == 1, 4)


def test_the_choice_outlives_the_program(streaming, linked, phone):
    linked.stop()
    phone.do("wait-closed")
    linked.start()
    phone.do("wait-link")
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)


@pytest.mark.parametrize("option", ["--no-uuid", "--not-browsable"])
def test_a_chosen_phone_is_found_by_its_services_name_or_by_search(program, option):
    with Phone(option) as phone:
        program.choose_beforehand(adapters.PHONE)
        program.start()
        phone.do("wait-link")


def test_a_phone_without_the_service_is_asked_again_and_again(program, phone, system_log):
    phone.do("hide")
    program.choose_beforehand(adapters.PHONE)
    program.start()
    program.wait_bluetooth(LOOKING)
    wait_for(lambda: system_log.count("has no Orvane service"), "an attempt", 60)
    assert stays(lambda: system_log.count("has no Orvane service") == 1, 8), "the same is said once"
    phone.do("publish")
    phone.do("wait-link")


def test_an_adapter_that_is_switched_off_and_on_is_normal(streaming, linked, phone, server):
    adapters.set_powered("hci0", False)
    linked.wait_bluetooth(LOOKING)
    streaming.wait_ended()
    assert uses_little_time(linked)

    adapters.set_powered("hci0", True)
    phone.notice_the_end()
    phone.do("wait-link")
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)
    server.next_connection()


def test_a_bluetoothd_that_goes_and_comes_back_is_normal(streaming, linked, phone, server):
    adapters.stop_bluetoothd()
    wait_for(lambda: streaming.ended, "the end of the link", 60)
    linked.wait_bluetooth(LOOKING)
    assert uses_little_time(linked)

    adapters.start_bluetoothd()
    phone.do("hide")
    phone.do("publish")
    phone.do("wait-link")
    phone.do("attach")
    linked.wait_bluetooth(STREAMING)
    server.next_connection()


def uses_little_time(program):
    """True when five seconds of the program take it no more than one: this computer is an emulated one, and slow."""
    before = program.cpu_seconds()
    time.sleep(5)
    return program.cpu_seconds() - before < 1
