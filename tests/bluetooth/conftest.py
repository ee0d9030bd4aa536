"""Fixtures for the tests that run in the Bluetooth machine: hci0 is the computer, hci1 the phone, paired with each other."""

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "acceptance"))

import adapters  # noqa: E402
from audio_server import AudioServer  # noqa: E402
from phone import Phone  # noqa: E402
from program import Program  # noqa: E402
from system_log import SystemLog  # noqa: E402

COMPUTER_NAME = "Computer"
PHONE_NAME = "R&D _x Phone"


@pytest.fixture(scope="session", autouse=True)
def system_log():
    """What Orvane writes to the system log; shown with a test that fails."""
    return SystemLog()


@pytest.fixture(autouse=True)
def log_of_this_test(system_log, request):
    system_log.begin()
    yield
    print("system log:", *system_log.lines(), sep="\n  ")


@pytest.fixture(scope="session", autouse=True)
def pairing():
    adapters.pair(COMPUTER_NAME, PHONE_NAME)


@pytest.fixture
def near_phone():
    """Keeps the connection up, as a phone does that plays music: an idle one ends after two seconds."""
    with adapters.keep_connected():
        yield


@pytest.fixture
def phone():
    with Phone() as phone:
        yield phone


@pytest.fixture
def server():
    with AudioServer() as server:
        yield server


@pytest.fixture
def program(tmp_path):
    """Orvane on the terminal, its phone not chosen yet, not started yet."""
    program = Program(tmp_path)
    yield program
    program.close()


@pytest.fixture
def linked(program, phone):
    """Orvane with the phone chosen and its channel open; nothing has been sent."""
    program.choose_beforehand(adapters.PHONE)
    program.start()
    phone.do("wait-link")
    return program


@pytest.fixture
def streaming(linked, phone, server):
    """The phone's engine attached. The server's end of the audio connection."""
    phone.do("hello 1")
    phone.do("attach")
    linked.wait_bluetooth(f"streaming from {PHONE_NAME}")
    return server.next_connection()


def pytest_unconfigure(config):
    """The last line of all, plain."""
    stats = config.pluginmanager.get_plugin("terminalreporter").stats
    counts = {name: len(stats.get(name, [])) for name in ("passed", "failed", "error")}
    print(f"{counts['passed']} passed, {counts['failed'] + counts['error']} failed")
