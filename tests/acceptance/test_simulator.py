"""The stand-in server, alone and under the program."""

import os
import re
import resource
import signal
import socket
import subprocess
import threading
import time

import pytest

from harness.ports import free_port
from harness.processes import cpu_seconds, end
from harness.installation import BUILD
from harness.screen import wait_for_dialog
from harness.waiting import stays, wait_equal, wait_for


class Simulator:
    def __init__(self, home, **variables):
        self.port = variables.pop("ORVANED_PORT", None) or free_port()
        self.text = ""
        self.process = subprocess.Popen(
            [str(BUILD / "orvaned")], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            env={"HOME": str(home), "ORVANED_PORT": str(self.port), "ORVANED_PHONES": "0", "ORVANED_REPORT": "0.1",
                 "ORVANED_ARRIVE": "0.1", **variables})
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        while piece := os.read(self.process.stdout.fileno(), 65536):
            self.text += piece.decode()

    def expect(self, pattern):
        """Waits for a line and returns the match; looks only at what was printed since the last `forget`."""
        return wait_for(lambda: re.search(pattern, self.text, re.MULTILINE), f"{pattern!r} in {self.text!r}")

    def forget(self):
        self.text = ""

    def phone(self):
        """Connects as a phone does."""
        return wait_for(self._connect, "a connection")

    def _connect(self):
        try:
            return socket.create_connection(("127.0.0.1", self.port), 5)
        except ConnectionRefusedError:
            return None


@pytest.fixture
def home(tmp_path):
    (tmp_path / "Library/Application Support").mkdir(parents=True)
    return tmp_path


@pytest.fixture
def simulator(home):
    started = []

    def start(**variables):
        started.append(Simulator(home, **variables))
        return started[-1]

    yield start
    for one in started:
        end(one.process, signal.SIGKILL)


def settings(home, name):
    folder = home / "Library/Application Support/Orvane"
    folder.mkdir(exist_ok=True)
    return folder / name


def test_it_says_that_it_is_a_simulator_and_what_can_be_set(simulator):
    one = simulator()
    one.expect("^phone=waiting$")
    assert "SIMULATOR" in one.text.splitlines()[0]
    assert "ORVANED_PHONES" in one.text


def test_it_refuses_arguments():
    result = subprocess.run([str(BUILD / "orvaned"), "--help"], capture_output=True, text=True)
    assert result.returncode == 2 and result.stdout == "" and "no arguments" in result.stderr


def test_a_variable_that_makes_no_sense_is_named_and_its_default_holds(simulator):
    one = simulator(ORVANED_ARRIVE="soon", ORVANED_ECHO="2")
    one.expect('^orvaned: ORVANED_ARRIVE cannot be "soon"$')
    one.expect('^orvaned: ORVANED_ECHO cannot be "2"$')
    one.expect("^phone=waiting$")


def test_it_makes_a_pairing_code_and_keeps_it(simulator, home):
    one = simulator()
    code = one.expect(r"^pairing code: (\d{6})$")[1]
    assert settings(home, "pairing").read_text() == code + "\n"
    assert simulator().expect(r"^pairing code: (\d{6})$")[1] == code
    settings(home, "pairing").unlink()
    simulator().expect(r"^pairing code: \d{6}$")
    assert settings(home, "pairing").exists()


def test_the_device_file_sets_device_channel_and_alignment(simulator, home):
    settings(home, "device").write_text("uid=two\nchannel=3\nalign=0\n")
    one = simulator(ORVANED_DEVICES="one,16,First;two,8,Second", ORVANED_PHONES="1")
    one.expect("align=off$")
    one.expect("routing to VIRTUAL Second$")
    one.expect("^devices: 2\ndevice:\t0\t16\t3\tone\tFirst\ndevice:\t1\t8\t3\ttwo\tSecond$")
    one.expect("^session:\t0\t3\t")


def test_without_a_device_file_the_first_device_and_the_first_channels_are_used(simulator):
    one = simulator(ORVANED_PHONES="1")
    one.expect("align=on$")
    one.expect("^devices: 2\ndevice:\t1\t16\t1\t.*\ndevice:\t0\t2\t1\t")
    one.expect("^session:\t0\t1\t")


def test_no_device_at_all_routes_to_the_default_output(simulator):
    one = simulator(ORVANED_DEVICES="")
    one.expect("routing to default-output$")
    one.expect("^devices: 0$")


def test_a_device_can_appear_later(simulator):
    one = simulator(ORVANED_DEVICES="late,16,Late", ORVANED_LATE_DEVICE="0.3")
    one.expect("^devices: 0$")
    one.expect("routing to VIRTUAL Late$")
    one.expect("^devices: 1\ndevice:\t1\t16\t1\tlate\tLate$")


def test_pretended_phones_come_and_go(simulator):
    one = simulator(ORVANED_PHONES="2", ORVANED_STAY="0.4", ORVANED_ARRIVE="0.3")
    for count in (1, 2, 1, 2, 1):
        one.expect(f"^sessions: {count}$")
        one.forget()


def test_every_record_belongs_to_a_block_of_the_announced_size(simulator):
    one = simulator(ORVANED_PHONES="5")
    one.expect("^sessions: 5$(\nsession:.*){5}\nphone=yes$")


def test_phones_move_when_the_channels_file_changes(simulator, home):
    one = simulator(ORVANED_PHONES="2")
    one.expect("^sessions: 2\nsession:\t0\t1\t.*\nsession:\t1\t3\t")
    one.forget()
    new = settings(home, "new")
    new.write_text("1=1\n2=4\n")
    new.rename(settings(home, "channels"))
    one.expect("^sessions: 2\nsession:\t0\t3\t.*\nsession:\t1\t9\t")


def test_an_unpinned_phone_gives_way_to_a_pinned_one(simulator, home):
    settings(home, "channels").write_text("2=0\n")
    one = simulator(ORVANED_PHONES="2")
    one.expect("^sessions: 2\nsession:\t0\t3\t.*\nsession:\t1\t1\t")


def test_a_connection_is_a_phone_and_its_bytes_are_packets(simulator):
    one = simulator()
    phone = one.phone()
    one.expect(r"^sessions: 1\nsession:\t0\t1\t0\t.*\t\(silent\)\t.*\t\d+\tPhone at 127\.0\.0\.1:\d+\nphone=yes$")
    phone.sendall(b"\x00\xffhello")
    one.expect(r"^session:\t0\t1\t7\t")
    phone.sendall(b"x" * 100_000)
    one.expect(r"^session:\t0\t1\t100007\t")
    one.forget()
    phone.close()
    one.expect("^sessions: 0\nphone=waiting$")


def test_many_connections_are_served_and_one_that_does_nothing_holds_up_none(simulator):
    one = simulator()
    phones = [one.phone() for _ in range(100)]
    one.expect("^sessions: 100$")
    for phone in phones[1:]:
        phone.sendall(b"x" * 10)
    wait_for(lambda: len(re.findall(r"^session:\t\d+\t\d+\t10\t", one.text, re.MULTILINE)) >= 99, "their bytes")
    for phone in phones:
        phone.close()
    one.forget()
    one.expect("^sessions: 0$")


def test_with_echo_every_byte_comes_back_even_to_a_slow_reader(simulator):
    one = simulator(ORVANED_ECHO="1")
    phone = one.phone()
    data = os.urandom(3_000_000)
    sender = threading.Thread(target=phone.sendall, args=(data,))
    sender.start()
    time.sleep(0.2)
    other = one.phone()
    other.sendall(b"ping")
    assert other.recv(10) == b"ping", "the slow one holds up nobody"
    back = b""
    while len(back) < len(data):
        piece = phone.recv(1 << 20)
        assert piece
        back += piece
    sender.join()
    assert back == data


def test_a_connection_that_is_torn_down_is_a_phone_that_has_gone(simulator):
    import struct

    one = simulator(ORVANED_ECHO="1")
    for _ in range(5):
        phone = one.phone()
        phone.sendall(b"x" * 100_000)
        phone.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        phone.close()
    wait_for(lambda: one.text.endswith("sessions: 0\nphone=waiting\n"), "all of them to be gone")
    assert one.process.poll() is None


def test_wrong_codes_are_reported(simulator):
    one = simulator(ORVANED_WRONG_CODES="0.1")
    one.expect("pairing: REJECTED")
    one.expect("pairing: too many wrong codes")


def test_a_taken_port_is_said_and_ends_it_with_a_status(simulator):
    first = simulator()
    first.expect("^phone=waiting$")
    second = simulator(ORVANED_PORT=first.port)
    assert second.process.wait(5) == 1
    second.expect(rf"cannot listen on 127\.0\.0\.1:{first.port}: Address already in use")
    assert first.process.poll() is None


def test_the_port_is_free_again_at_once(simulator):
    first = simulator()
    phone = first.phone()
    phone.sendall(b"x")
    first.expect("^session:\t0\t1\t1\t")
    end(first.process)
    second = simulator(ORVANED_PORT=first.port)
    second.expect("^phone=waiting$")


@pytest.mark.parametrize("reader", ["that reads", "that does not read"])
def test_sigterm_ends_it_at_once_and_cleanly(home, reader):
    process = subprocess.Popen([str(BUILD / "orvaned")], stdout=subprocess.PIPE,
                               env={"HOME": str(home), "ORVANED_PORT": str(free_port()), "ORVANED_PHONES": "900",
                                    "ORVANED_ARRIVE": "0", "ORVANED_REPORT": "0.01"})
    if reader == "that reads":
        process.stdout.readline()
    else:
        wait_for(lambda: "pipe" in open(f"/proc/{process.pid}/wchan").read(), "a write that waits") \
            if os.path.exists(f"/proc/{process.pid}/wchan") else None
    begin = time.monotonic()
    process.terminate()
    assert process.wait(5) == 0
    assert time.monotonic() - begin < 1
    process.stdout.close()


def test_it_ends_when_nobody_listens_to_it_any_more(simulator, home):
    process = subprocess.Popen([str(BUILD / "orvaned")], stdout=subprocess.PIPE,
                               env={"HOME": str(home), "ORVANED_PORT": str(free_port()), "ORVANED_REPORT": "0.05"})
    process.stdout.readline()
    process.stdout.close()
    assert process.wait(5) == 0


def test_idling_costs_next_to_nothing(simulator):
    one = simulator(ORVANED_REPORT="1")
    one.phone()
    before = cpu_seconds(one.process.pid)
    assert stays(lambda: one.process.poll() is None, 1.5)
    assert cpu_seconds(one.process.pid) - before < 0.1


@pytest.fixture
def demonstration(make_program, tray):
    """The program beside the simulator, as both lie in the build folder."""
    program = make_program(scripted=False)
    program.put_simulator()

    def start(**variables):
        program.start(tray=tray, ORVANED_PORT=str(free_port()), ORVANED_ARRIVE="0.2", ORVANED_REPORT="0.2", **variables)
        return program

    return start


def test_the_program_shows_what_the_simulator_pretends(demonstration):
    program = demonstration()
    menu = program.menu()
    wait_equal(lambda: menu.status, "● 2 phones connected", 20)
    code = program.settings("pairing").read_text().strip()
    assert menu.find(f"Pairing code: {code}   (click to copy)")
    assert menu.find("Audio device: BlackHole 16ch  ·  8 phone slots")
    places = [row.title.split("  ⚠")[0] for row in menu.row("Phones: 2").open()]  # It pretends dropouts after a while.
    assert places == ["Kitchen   →   ch 1–2", "Desk   →   ch 3–4"]


def test_every_choice_reaches_the_simulator_and_comes_back(demonstration):
    program = demonstration()
    menu = program.menu()
    menu.row("Phones: 2 connected")

    menu.open()
    menu.row("Phones: 2").open()[0].open()[4].click()
    menu.close()
    wait_for(lambda: menu.row("Phones: 2").open()[0].title == "Kitchen   →   ch 7–8", "the phone to move")

    menu.row("Audio device: ").open()[1].click()
    menu.row("Audio device: BlackHole 2ch")
    menu.row("Phones: 2 connected")
    menu.row("Keep phones in sync").click()
    wait_for(lambda: not menu.row("Keep phones in sync").checked, "the mark to go")
    menu.row("Phones: 2 connected")

    code = menu.row("Pairing code: ").title
    menu.row("New Pairing Code…").click()
    wait_for_dialog(program.pid, "Generate").press("Generate")
    wait_for(lambda: menu.row("Pairing code: ").title not in (code, "Pairing code: …"), "another code")


def test_the_build_folder_runs_as_it_is(make_program, tray):
    program = make_program(scripted=False, adb=None)
    program.path = BUILD / "orvane"
    adb = {"ANDROID_ADB_SERVER_PORT": str(free_port())}  # That of this machine may be there.
    program.start(tray=tray, ORVANED_PORT=str(free_port()), ORVANED_PHONES="0", **adb)
    menu = program.menu()
    menu.row("Audio device: BlackHole 16ch")
    wait_equal(lambda: menu.status, "○ Waiting for phone…")
    _, pixels = program.item().pixels()
    assert sum(pixel[0] > 200 for pixel in pixels) > 100
    if (BUILD / "resources/adb").exists():
        wait_for(lambda: menu.row("USB:").title in ("USB: no phone connected", "USB: checking…"), "the row of what adb sees")
        wait_for(lambda: subprocess.run([str(BUILD / "resources/adb"), "kill-server"], capture_output=True,
                                        env=program.environment(**adb)).returncode == 0, "the end of adb's daemon")


def test_a_real_connection_is_shown_like_any_phone(make_program, tray):
    program = make_program(scripted=False)
    program.put_simulator()
    port = free_port()
    program.start(tray=tray, ORVANED_PORT=str(port), ORVANED_PHONES="0", ORVANED_REPORT="0.2")
    menu = program.menu()
    menu.row("Audio device: BlackHole")
    with socket.create_connection(("127.0.0.1", port)) as phone:
        phone.sendall(b"hello")
        wait_equal(lambda: menu.status, "● 1 phone connected")
        assert menu.row("Phones: 1").open()[0].title.startswith("Phone at 127.0.0.1:")
    menu.row("Phones: none connected")
    wait_equal(lambda: menu.status, "○ Waiting for phone…")


def test_a_taken_port_shows_as_a_server_that_stops(make_program, tray):
    with socket.socket() as holder:
        holder.bind(("127.0.0.1", 0))
        holder.listen()
        program = make_program(scripted=False)
        program.put_simulator()
        program.start(tray=tray, ORVANED_PORT=str(holder.getsockname()[1]))
        menu = program.menu()
        wait_equal(lambda: menu.status, "⚠ Server stopped — restarting…")
        log = program.show_log()
        wait_for(lambda: "Address already in use" in log.text() and "exited (status 1)" in log.text(), "the reason")


def test_at_its_limit_of_descriptors_it_does_not_spin_and_serves_those_who_come_later(simulator):
    one = simulator()
    one.expect("^phone=waiting$")
    resource.prlimit(one.process.pid, resource.RLIMIT_NOFILE, (12, 12))
    phones = [one.phone() for _ in range(40)]  # The kernel lets all of them wait.
    before = cpu_seconds(one.process.pid)
    assert stays(lambda: one.process.poll() is None, 1)
    assert cpu_seconds(one.process.pid) - before < 0.1
    for phone in phones[:-1]:
        phone.close()
    one.forget()
    phones[-1].sendall(b"x" * 1000)
    one.expect("^sessions: 1$")
