"""Pairing code, clipboard and the help dialogs, read and pressed through the accessibility bus."""

import shutil

import pytest

from harness.expected import BREW, COPY_CODE, MISSING_ADB, MISSING_DEVICE, NEW_CODE, PAGE
from harness.installation import sanitizer
from harness.lines import device_block, device_line
from harness.program import QUIET_ADB
from harness.screen import wait_for_dialog, wait_for_no_dialog
from harness.waiting import stays, wait_equal, wait_for


def install_row(program):
    """The row that opens the dialog on the missing device."""
    program.launch.say("devices: 0\n")
    return program.menu().row("⚠ No audio device")


def new_code_row(program):
    return program.menu().row("New Pairing Code…")


def put_browser(program):
    """A browser that only notes the address."""
    path = program.folder / "path" / "xdg-open"
    path.parent.mkdir()
    path.write_text(f'#!/bin/sh\nprintf "%s\\n" "$@" >>"{program.folder}/opened"\n')
    path.chmod(0o755)
    return program.folder / "opened"


def test_a_click_on_the_pairing_code_copies_it_and_it_stays_when_the_menu_has_closed(running, desktop):
    desktop.set_clipboard("before")
    running.launch.say("pairing code: 12 34_&\n")
    menu = running.menu()
    row = menu.row("Pairing code: 12 34_&")
    menu.open()
    row.click()
    menu.close()
    wait_equal(desktop.clipboard, "12 34_&")
    assert stays(lambda: desktop.clipboard() == "12 34_&", 0.3)


def test_on_wayland_where_a_menu_cannot_copy_a_question_shows_the_code_and_copies_it(program, tray, desktop):
    program.start(tray=tray, WAYLAND_DISPLAY="wayland-nowhere")
    program.server.next_launch().say("pairing code: 12 34_&\n")
    desktop.set_clipboard("before")
    for button, copied in (("Cancel", "before"), ("Copy", "12 34_&")):
        program.menu().row("Pairing code: 12 34_&").click()
        dialog = wait_for_dialog(program.pid, "Pairing code: 12")
        assert dialog.texts == [COPY_CODE.text, COPY_CODE.further]
        assert dialog.buttons == [*COPY_CODE.buttons]
        assert desktop.clipboard() == "before"
        dialog.press(button)
        wait_for_no_dialog(program.pid)
        wait_equal(desktop.clipboard, copied)


def test_on_gnome_a_click_copies_through_x11_at_once(program, tray, desktop):
    program.start(tray=tray, WAYLAND_DISPLAY="wayland-nowhere", XDG_CURRENT_DESKTOP="ubuntu:GNOME")
    program.server.next_launch().say("pairing code: 12 34_&\n")
    desktop.set_clipboard("before")
    program.menu().row("Pairing code: 12 34").click()
    wait_equal(desktop.clipboard, "12 34_&")


def test_without_a_code_nothing_is_copied(running, desktop):
    desktop.set_clipboard("before")
    running.menu().row("Pairing code: …").click()
    assert stays(lambda: desktop.clipboard() == "before", 0.3)


def test_the_question_about_a_new_code_has_its_texts_and_buttons(running):
    new_code_row(running).click()
    dialog = wait_for_dialog(running.pid, "Generate")
    assert dialog.texts == [NEW_CODE.text, NEW_CODE.further]
    assert dialog.buttons == [*NEW_CODE.buttons]
    dialog.press("Cancel")
    wait_for_no_dialog(running.pid)


@pytest.mark.parametrize("answer", ["Cancel", "close"])
def test_any_other_answer_leaves_the_code_and_the_server_alone(running, desktop, answer):
    pairing = running.settings("pairing")
    pairing.parent.mkdir(parents=True)
    pairing.write_text("123\n")
    running.launch.say("pairing code: 123\n")
    running.menu().row("Pairing code: 123")
    new_code_row(running).click()
    dialog = wait_for_dialog(running.pid, "Generate")
    if answer == "close":
        desktop.close_window("Orvane")
    else:
        dialog.press(answer)
    wait_for_no_dialog(running.pid)
    assert pairing.read_text() == "123\n"
    assert running.menu().find("Pairing code: 123")
    assert not running.server.launched_again(within=0.3) and running.launch.alive


def test_generate_deletes_the_file_and_restarts_the_server_which_reports_another_code(running, desktop):
    pairing = running.settings("pairing")
    pairing.parent.mkdir(parents=True)
    pairing.write_text("123\n")
    running.launch.say("pairing code: 123\n")
    menu = running.menu()
    menu.row("Pairing code: 123")
    desktop.set_clipboard("before")
    new_code_row(running).click()
    wait_for_dialog(running.pid, "Generate").press("Generate")

    second = running.server.next_launch()
    assert not running.launch.alive and not pairing.exists()
    menu.row("Pairing code: …").click()
    assert stays(lambda: desktop.clipboard() == "before", 0.2)
    log = running.show_log()
    wait_for(lambda: "\n— generating a new pairing code —\n\n— restarting server —\n" in log.text(), "the log lines")
    second.say("pairing code: 456\n")
    menu.row("Pairing code: 456   (click to copy)")


def test_generate_without_a_file_restarts_the_server_all_the_same(running):
    new_code_row(running).click()
    wait_for_dialog(running.pid, "Generate").press("Generate")
    running.server.next_launch()


def test_the_menu_goes_on_while_a_question_is_open(running):
    new_code_row(running).click()
    dialog = wait_for_dialog(running.pid, "Generate")
    running.launch.say("pairing code: meanwhile\nphone=yes\n")
    menu = running.menu()
    menu.row("Pairing code: meanwhile")
    assert menu.status == "● 0 phones connected"
    dialog.press("Cancel")
    wait_for_no_dialog(running.pid)


def test_quitting_while_a_question_is_open_ends_the_program_at_once(running):
    new_code_row(running).click()
    wait_for_dialog(running.pid, "Generate")
    assert running.quit(5) == 0
    running.launch.wait_until_gone()


def test_the_dialog_on_the_missing_device_has_its_texts_and_buttons(running):
    install_row(running).click()
    dialog = wait_for_dialog(running.pid, "Orvane needs")
    assert dialog.texts[:2] == [MISSING_DEVICE.text, MISSING_DEVICE.further]
    assert "    pactl load-module module-null-sink sink_name=orvane channels=16" in dialog.texts[2]
    assert dialog.buttons == [*MISSING_DEVICE.buttons]
    dialog.press("Cancel")
    wait_for_no_dialog(running.pid)


def test_the_row_in_the_device_submenu_opens_the_same_dialog(running):
    running.launch.say(device_block(device_line("a", "One")))
    running.menu().row("Audio device: One").open()[-1].click()
    wait_for_dialog(running.pid, "Orvane needs").press("Cancel")
    wait_for_no_dialog(running.pid)


def open_download_page(program):
    if sanitizer() == "thread":
        pytest.skip("ThreadSanitizer does not survive how Qt begins another program")
    wait_for_dialog(program.pid, "Orvane needs").press("Open Download Page")


def test_the_download_page_opens_in_the_browser(running, desktop):
    opened = put_browser(running)
    desktop.set_clipboard("before")
    install_row(running).click()
    open_download_page(running)
    wait_for(opened.exists, "the browser to be called")
    wait_equal(opened.read_text, f"https://{PAGE}\n")
    wait_equal(running.servers, [running.launch.pid])  # That which has called it ends.
    assert desktop.clipboard() == "before" and running.launch.alive


def test_the_homebrew_command_replaces_the_clipboard(running, desktop):
    opened = put_browser(running)
    desktop.set_clipboard("before")
    install_row(running).click()
    wait_for_dialog(running.pid, "Orvane needs").press("Copy Homebrew Command")
    wait_equal(desktop.clipboard, BREW)
    assert not opened.exists() and running.launch.alive


@pytest.mark.parametrize("browser", ["#!/bin/sh\nexit 3\n", None])
def test_without_a_browser_the_address_is_offered_for_copying(running, desktop, browser):
    put_browser(running)
    path = running.folder / "path/xdg-open"
    path.write_text(browser) if browser else path.unlink()
    if not browser and shutil.which("xdg-open"):
        pytest.skip("this machine has an xdg-open")
    desktop.set_clipboard("before")
    install_row(running).click()
    open_download_page(running)
    dialog = wait_for_dialog(running.pid, "No browser could be opened")
    assert f"https://{PAGE}" in dialog.texts[1]
    dialog.press("Copy Address")
    wait_equal(desktop.clipboard, f"https://{PAGE}")


@pytest.mark.parametrize("answer", ["Cancel", "close"])
def test_leaving_the_dialog_on_the_missing_device_does_nothing(running, desktop, answer):
    opened = put_browser(running)
    desktop.set_clipboard("before")
    install_row(running).click()
    dialog = wait_for_dialog(running.pid, "Orvane needs")
    desktop.close_window("Orvane") if answer == "close" else dialog.press(answer)
    wait_for_no_dialog(running.pid)
    assert desktop.clipboard() == "before" and not opened.exists() and running.launch.alive


def test_the_usb_row_of_a_machine_without_adb_explains_itself_in_words_that_can_be_copied(make_program, tray, desktop):
    program = make_program(adb=None)
    program.start(tray=tray)
    program.server.next_launch()
    row = program.menu().row("USB: Android tools not installed…")
    assert row.enabled
    row.click()
    dialog = wait_for_dialog(program.pid, "Android")
    assert dialog.texts[:2] == [MISSING_ADB.text, MISSING_ADB.further]
    assert "    sudo apt install adb\n" in dialog.texts[2] and "plugdev" in dialog.texts[2]
    assert dialog.buttons == [*MISSING_ADB.buttons]
    desktop.activate_window("Orvane")
    desktop.click(*dialog.place_of("On this computer"))
    desktop.press_keys("ctrl+a", "ctrl+c")
    wait_equal(desktop.clipboard, dialog.texts[2])
    dialog.press("OK")
    wait_for_no_dialog(program.pid)

    program.put_adb(QUIET_ADB)
    wait_for(lambda: program.menu().row("USB: no phone connected"), "the tool to be found")
    assert not program.menu().row("USB: no phone connected").enabled
