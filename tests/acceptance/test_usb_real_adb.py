"""The tunnel through the real adb, with an adb server of its own and phones that are played on 127.0.0.1."""

import os
import re
import shutil
import signal
import subprocess

import pytest
from adb_device import AdbDevice
from harness.faults import times
from harness.machine import needs
from harness.ports import free_port
from harness.processes import command_line, descendants, end, zombies_of
from harness.waiting import stays, wait_equal, wait_for

ADB = shutil.which("adb")
TUNNEL = {"tcp:5555": "tcp:5555"}
LIST = "reverse:list-forward"
GET_MODEL = "shell:getprop ro.product.model"
ADD = "reverse:forward:tcp:5555;tcp:5555"


class RealAdb:
    """The test's own use of adb: what a user's cable does."""

    def __init__(self, program):
        self.settings = {"ANDROID_ADB_SERVER_PORT": str(free_port()), "TMPDIR": str(program.folder / "run")}
        self._environment = program.environment(**self.settings)

    def __call__(self, *arguments):
        return subprocess.run([ADB, *arguments], env=self._environment, capture_output=True, text=True, timeout=30)

    def connect(self, device):
        """Again while that fails: Orvane's first look and this one may both be starting adb's server."""
        wait_for(lambda: re.search("connected to|failed to authenticate", self("connect", device.address).stdout), "adb to connect")


@pytest.fixture
def adb(make_program, tray):
    needs(ADB, "adb")
    program = make_program(adb=None)
    (program.folder / "share/orvane/adb").symlink_to(ADB)
    adb = RealAdb(program)
    program.start(tray=tray, **adb.settings)
    adb.menu = program.menu()
    adb.program = program
    yield adb
    end(program.process)  # first, or it starts adb's server again
    adb("kill-server")


@pytest.fixture
def plug_in(adb):
    devices = []

    def plug_in(**details):
        devices.append(AdbDevice(**details))
        adb.connect(devices[-1])
        return devices[-1]

    yield plug_in
    for device in devices:
        device.unplug()


def wait_for_usb(adb, title):
    wait_equal(lambda: adb.menu.row("USB:").title, title, timeout=30)


def test_from_plugging_in_to_unplugging(adb, plug_in):
    device = plug_in(model="Pixel 7 Pro", authorized=False)
    wait_for_usb(adb, "USB: allow USB debugging on the phone")
    assert device.services == [] and device.tunnels == {}

    device.authorize()
    wait_for_usb(adb, "USB: ready — Pixel 7 Pro")
    wait_equal(lambda: device.tunnels, TUNNEL)
    assert device.services[:3] == [LIST, GET_MODEL, ADD]

    device.forget_tunnels()
    wait_equal(lambda: device.tunnels, TUNNEL)
    assert device.services.count(ADD) == 2
    assert adb.menu.row("USB:").title == "USB: ready — Pixel 7 Pro"

    device.unplug()
    wait_for_usb(adb, "USB: no phone connected")

    device.plug_in()
    adb.connect(device)
    wait_for_usb(adb, "USB: ready — Pixel 7 Pro")
    wait_equal(lambda: device.tunnels, TUNNEL)


def test_a_phone_that_keeps_its_tunnel_is_asked_two_things_a_probe(adb, plug_in):
    device = plug_in()
    wait_equal(lambda: device.tunnels, TUNNEL)
    seen = len(device.services)
    wait_for(lambda: len(device.services) >= seen + 4, "two more probes")
    assert device.services[seen : seen + 4] == [LIST, GET_MODEL, LIST, GET_MODEL]


def test_of_two_phones_only_one_gets_the_tunnel(adb, plug_in):
    phones = [plug_in(model="First"), plug_in(model="Second")]
    listed = wait_for(lambda: adb("devices").stdout.splitlines()[1:3], "both phones")
    first, second = sorted(phones, key=lambda phone: [phone.address in line for line in listed].index(True))
    wait_for_usb(adb, f"USB: ready — {first.model}")
    wait_equal(lambda: first.tunnels, TUNNEL)
    seen = len(second.services)
    assert stays(lambda: len(second.services) == seen, 3)


def test_a_model_in_another_script_is_shown(adb, plug_in):
    plug_in(model="Телефон 電話 é_&")
    wait_for_usb(adb, "USB: ready — Телефон 電話 é_&")


def test_adbs_server_that_was_started_as_our_grandchild_survives_and_holds_nothing_up(adb, plug_in):
    """It is started by the first listing, inherits what that holds, and is everybody's from then on."""
    wait_for(lambda: adb("get-serialno").stderr, "adb's server")
    plug_in()
    wait_for_usb(adb, "USB: ready — Pixel 7")
    end(adb.program.process)
    listing = adb("devices")
    assert "daemon not running" not in listing.stderr
    assert "\tdevice" in listing.stdout


def test_when_adbs_server_is_killed_the_next_look_starts_another_and_the_tunnel_is_made_again(adb, plug_in):
    device = plug_in()
    wait_for_usb(adb, "USB: ready — Pixel 7")
    for _ in range(times(2, 20)):
        device.forget_tunnels()
        wait_for(lambda: servers(adb), "adb's server")
        for pid in servers(adb):
            os.kill(pid, signal.SIGKILL)
        wait_for_usb(adb, "USB: no phone connected")
        adb.connect(device)  # Only a phone on a cable is found again by itself.
        wait_for_usb(adb, "USB: ready — Pixel 7")
        wait_equal(lambda: device.tunnels, TUNNEL)
    wait_for(lambda: not zombies_of(adb.program.pid), "the end of every zombie")


def servers(adb):
    """The processes of adb's server at the test's port."""
    port = adb.settings["ANDROID_ADB_SERVER_PORT"]
    return [pid for pid in descendants(os.getpid()) if "fork-server" in command_line(pid) and port in command_line(pid)]
