"""The settings files, under a reader that never rests and under kill -9."""

import os
import random
import signal
import threading

from harness.faults import channel_rows, channels, show_phone
from harness.settings import BusyReader
from harness.waiting import wait_equal, wait_for


def test_the_folder_is_made_with_its_parents_at_the_first_choice(running):
    show_phone(running)
    assert not (running.home / "Library").exists()
    channel_rows(running)[1].click()
    wait_for(running.settings("channels").exists, "the file")


def test_nothing_is_written_at_start(running):
    show_phone(running)
    assert not (running.home / "Library").exists()


def test_a_reader_never_sees_a_half_written_channels_file(running):
    show_phone(running)
    reader = BusyReader(running.settings("channels"))
    rows = channel_rows(running)
    for round in range(200):
        rows[round % 8].click()
    rows[0].click()
    log = running.show_log()
    wait_for(lambda: log.text().count("— 7 → channels ") == 201, "all choices to be made")
    reader.stop()
    assert reader.texts <= {f"7={pair}\n".encode() for pair in range(8)}
    assert len(reader.inodes) > 1, "the file is replaced, not rewritten"
    assert reader.missed == 0
    assert os.listdir(running.settings("channels").parent) == ["channels"]


def test_a_reader_never_sees_a_half_written_device_file(running):
    show_phone(running)
    reader = BusyReader(running.settings("device"))
    menu = running.menu()
    for _ in range(10):
        menu.row("Audio device: ").open()[0].click()
        running.server.next_launch()
    reader.stop()
    assert reader.texts == {b"uid=uid\nchannel=0\nalign=1\n"}
    assert len(reader.inodes) > 1
    assert reader.missed == 0
    assert os.listdir(running.settings("device").parent) == ["device"]


def test_killed_at_any_moment_the_file_is_whole_and_nothing_else_lies_there_for_long(make_program, tray, desktop):
    random.seed(7)
    whole = {f"7={pair}\n".encode() for pair in range(8)}
    expected = whole | {None}
    program = make_program()
    for round in range(12):
        program.start(tray=tray)
        program.launch = program.server.next_launch()
        show_phone(program)
        rows = channel_rows(program)
        menu = program.menu()
        killer = threading.Timer(random.uniform(0.001, 0.02), os.kill, (program.pid, signal.SIGKILL))
        killer.start()
        try:
            for index in range(10_000):
                menu.event_without_reply(rows[index % 8].id, "clicked")
                if program.process.poll() is not None:
                    break
        finally:
            killer.join()
            program.process.wait()
        program.launch.wait_until_gone()
        left = channels(program)
        assert left in expected
        expected = expected if left is None else whole  # What was chosen once is not lost.
        folder = program.settings("channels").parent
        assert set(os.listdir(folder) if folder.exists() else []) <= {"channels", ".channels.new"}
        tray.forget_items()


def test_a_folder_that_cannot_be_made_changes_nothing_but_the_file(running):
    (running.home / "Library").write_text("in the way")
    show_phone(running)
    channel_rows(running)[1].click()
    menu = running.menu()
    menu.close()
    menu.row("Keep phones in sync")
    menu.row("Audio device: ").open()[0].click()
    running.server.next_launch()
    log = running.show_log()
    wait_for(lambda: "\n— audio device set to uid, first phone on channels 1–2 —\n" in log.text(), "the log line")
    assert "\n— 7 → channels 3–4 —\n" in log.text()
    assert (running.home / "Library").read_text() == "in the way"


def test_a_target_that_cannot_be_replaced_changes_nothing_but_the_file(running):
    # A folder of that name, with something in it, cannot be replaced by a file even by root.
    (running.settings("channels") / "keep").mkdir(parents=True)
    show_phone(running)
    channel_rows(running)[1].click()
    log = running.show_log()
    wait_for(lambda: "\n— 7 → channels 3–4 —\n" in log.text(), "the log line")
    assert os.listdir(running.settings("channels").parent) == ["channels"], "no temporary file is left"


def test_a_read_only_file_is_replaced(running):
    folder = running.settings("channels").parent
    folder.mkdir(parents=True)
    (folder / "channels").write_text("old")
    (folder / "channels").chmod(0o444)
    show_phone(running)
    channel_rows(running)[2].click()
    wait_equal(lambda: (folder / "channels").read_bytes(), b"7=2\n")


def test_what_everybody_may_write_to_is_closed_before_the_server_reads_it_and_that_is_said(program, tray):
    folder = program.settings("device").parent
    folder.mkdir(parents=True)
    for name, mode in (("device", 0o666), ("pairing", 0o602), ("channels", 0o640)):
        (folder / name).write_text("")
        (folder / name).chmod(mode)
    folder.chmod(0o777)
    program.start(tray=tray)
    program.server.next_launch()

    def mode(path):
        return path.stat().st_mode & 0o7777

    assert mode(folder) == 0o775
    assert [mode(folder / name) for name in ("device", "pairing", "channels")] == [0o664, 0o600, 0o640]
