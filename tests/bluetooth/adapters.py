"""The machine's two adapters and its bluetoothd."""

import contextlib
import os
import signal
import socket
import subprocess
import sys
from pathlib import Path

from harness.waiting import wait_for

COMPUTER = "00:AA:01:00:00:00"
PHONE = "00:AA:01:01:00:01"
SDP_PSM = 1
PATIENCE = 60


def pair(computer_name, phone_name):
    subprocess.run([sys.executable, Path(__file__).parent / "pair.py", computer_name, phone_name], check=True)


@contextlib.contextmanager
def keep_connected():
    """Holds a connection of the phone's to the computer."""
    with socket.socket(socket.AF_BLUETOOTH, socket.SOCK_SEQPACKET, socket.BTPROTO_L2CAP) as connection:
        connection.bind((PHONE, 0))
        connection.connect((COMPUTER, SDP_PSM))
        yield


def busctl(*arguments):
    return subprocess.run(["busctl", "--system", "--auto-start=no", *arguments], text=True, capture_output=True)


def is_powered(adapter):
    answer = busctl("get-property", "org.bluez", f"/org/bluez/{adapter}", "org.bluez.Adapter1", "Powered")
    return answer.stdout.strip() == "b true"


def set_powered(adapter, on):
    busctl("set-property", "org.bluez", f"/org/bluez/{adapter}", "org.bluez.Adapter1", "Powered", "b", str(on).lower())
    wait_for(lambda: is_powered(adapter) == on, f"{adapter} powered: {on}", PATIENCE)


def stop_bluetoothd():
    answer = busctl("call", "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "GetConnectionUnixProcessID", "s", "org.bluez")
    pid = int(answer.stdout.split()[1])
    os.kill(pid, signal.SIGTERM)
    wait_for(lambda: busctl("status", "org.bluez").returncode != 0, "the end of bluetoothd", PATIENCE)


def start_bluetoothd():
    with open("/mnt/rw/bluetoothd.log", "ab") as log:
        subprocess.Popen(["/usr/libexec/bluetooth/bluetoothd", "-n", "-C"], stdout=log, stderr=log)
    wait_for(lambda: is_powered("hci0") and is_powered("hci1"), "both adapters", PATIENCE)
