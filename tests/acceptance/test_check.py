"""orvane --check: what it says of a computer, and that it changes nothing and never waits long."""

import json
import os
import shutil
import socket
import subprocess
import time
from pathlib import Path

import pytest

from harness.machine import needs
from harness.sound import SoundServer

FAKE_ADB = """#!/bin/sh
case "$1" in
version) echo "Android Debug Bridge version 1.0.41" ;;
devices) touch "$0.asked"; printf 'List of devices attached\\nSERIAL\\t%s\\n' "$ADB_STATE" ;;
esac
"""


@pytest.fixture
def sound():
    server = SoundServer(("loop", 16), ("small", 2))
    yield server
    server.close()


@pytest.fixture
def adb_daemon():
    """Something that listens where adb's daemon would."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen()
        yield str(listener.getsockname()[1])


def check(program, *arguments, **environment):
    """The exit status, and id → line."""
    result = program.run("--check", "--json", *arguments, **{"ANDROID_ADB_SERVER_PORT": "1", **environment})
    assert result.stderr == ""
    return result.returncode, {thing["id"]: thing for thing in json.loads(result.stdout)["things"]}


def tree(folder):
    return sorted((str(path), path.lstat().st_mtime_ns) for path in Path(folder).rglob("*"))


def test_where_everything_needed_is_there_the_status_is_0(program, sound):
    status, things = check(program, PULSE_SERVER=sound.address)
    missing = {name for name, thing in things.items() if thing["required"] and thing["verdict"] != "ok"}
    assert missing <= {"port"}  # Another test of this machine may hold it.
    assert status == (1 if missing else 0)
    assert things["surface"]["found"].startswith("an icon in the tray")
    assert "16 channels, 8 phones" in things["loopback"]["found"]


def test_it_changes_nothing_and_starts_nothing(program):
    before = tree(program.home), tree(program.folder / "run"), tree(program.folder / "bin")
    check(program)
    assert (tree(program.home), tree(program.folder / "run"), tree(program.folder / "bin")) == before
    assert not program.server.launched_again(within=0.2)


@pytest.mark.parametrize("environment", [{}, {"XDG_RUNTIME_DIR": None}])
@pytest.mark.parametrize("server", ["none", "named", "usual"])
def test_looking_for_sound_leaves_neither_a_cookie_nor_a_folder(program, sound, server, environment):
    places = {"none": None, "named": sound.address, "usual": None}
    if server == "usual":
        if environment:
            pytest.skip("there is no usual place without the folder")
        (program.folder / "run/pulse").mkdir(mode=0o700)
        (program.folder / "run/pulse/native").symlink_to(sound.folder / "native")
    before = tree(program.home), tree(program.folder / "run")
    _, things = check(program, PULSE_SERVER=places[server], **environment)
    assert things["sound"]["verdict"] == ("missing" if server == "none" else "ok")
    assert (tree(program.home), tree(program.folder / "run")) == before


@pytest.mark.parametrize("machine", ["this", "another"])
def test_a_link_to_a_sound_folder_that_is_gone_or_of_another_machine_stays_as_it_is(program, machine):
    name = Path("/etc/machine-id").read_text().strip() if machine == "this" else "0123456789abcdef"
    pulse = program.home / ".config/pulse"
    pulse.mkdir(mode=0o700, parents=True)
    target = program.folder / "sound"
    (pulse / f"{name}-runtime").symlink_to(target)
    if machine == "another":
        target.mkdir(mode=0o700)
    before = tree(program.home)
    check(program, PULSE_SERVER=None, XDG_RUNTIME_DIR=None)
    assert tree(program.home) == before


def test_the_sound_server_behind_the_link_of_this_machine_is_found(program, sound):
    pulse = program.home / ".config/pulse"
    pulse.mkdir(mode=0o700, parents=True)
    sound.folder.chmod(0o700)
    (pulse / f"{Path('/etc/machine-id').read_text().strip()}-runtime").symlink_to(sound.folder)
    before = tree(program.home)
    assert check(program, PULSE_SERVER=None, XDG_RUNTIME_DIR=None)[1]["sound"]["verdict"] == "ok"
    assert tree(program.home) == before


@pytest.mark.parametrize("place", [".config/pulse/client.conf", ".pulse/client.conf", "elsewhere.conf", "elsewhere.conf.d/last.conf"])
def test_a_sound_server_that_client_conf_names_is_found_and_nothing_is_made_for_it(program, sound, place):
    file = program.home / place
    file.parent.mkdir(parents=True, exist_ok=True)
    main = program.home / "elsewhere.conf"
    main.write_text("default-server = unix:/nonexistent\n")
    file.write_text(f"# default-server =\n  default-server = {sound.address} ; ours\n")
    named = str(main) if place.startswith("elsewhere") else None
    before = tree(program.home)
    _, things = check(program, PULSE_SERVER=None, XDG_RUNTIME_DIR=None, PULSE_CLIENTCONFIG=named)
    assert things["sound"]["verdict"] == "ok" and tree(program.home) == before


@pytest.mark.parametrize("how", ["variable", "client.conf"])
def test_a_cookie_that_is_named_but_not_there_is_not_made(program, sound, how):
    pulse = program.home / ".config/pulse"
    pulse.mkdir(mode=0o700, parents=True)
    (pulse / "cookie").write_bytes(os.urandom(256))
    if how == "client.conf":
        (pulse / "client.conf").write_text("cookie-file = named\n")
    before = tree(program.home)
    check(program, PULSE_SERVER=sound.address, PULSE_COOKIE="named" if how == "variable" else None)
    assert tree(program.home) == before


def test_a_cookie_that_there_is_opens_a_sound_server_that_wants_it(program):
    cookie = program.home / ".config/pulse/cookie"
    cookie.parent.mkdir(parents=True)
    cookie.write_bytes(os.urandom(256))
    shutil.copy(cookie, program.folder / "cookie")
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    server = SoundServer(modules=[f"module-native-protocol-tcp listen=127.0.0.1 port={port} auth-cookie={program.folder}/cookie"])
    try:
        assert check(program, PULSE_SERVER=f"tcp:127.0.0.1:{port}")[1]["sound"]["verdict"] == "ok"
        cookie.rename(cookie.with_name("named"))
        assert check(program, PULSE_SERVER=f"tcp:127.0.0.1:{port}")[1]["sound"]["verdict"] == "missing"
        assert check(program, PULSE_SERVER=f"tcp:127.0.0.1:{port}", PULSE_COOKIE="named")[1]["sound"]["verdict"] == "ok"
        cookie.with_name("client.conf").write_text("cookie-file = named\n")
        assert check(program, PULSE_SERVER=f"tcp:127.0.0.1:{port}")[1]["sound"]["verdict"] == "ok"
    finally:
        server.close()


def test_settings_that_everybody_may_write_to_are_named_and_left_as_they_are(program):
    path = program.settings("device")
    path.parent.mkdir(parents=True)
    path.write_text("")
    assert check(program)[1]["settings"]["verdict"] == "ok"
    path.chmod(0o666)
    _, things = check(program)
    assert things["settings"]["verdict"] == "missing" and things["settings"]["found"] == f"{path} may be written to by every user"
    assert path.stat().st_mode & 0o777 == 0o666


def test_a_choice_of_a_phone_that_could_not_be_kept_is_told(program):
    folder = program.folder / "config/Orvane"
    assert check(program, XDG_CONFIG_HOME=folder.parent)[1]["settings"]["verdict"] == "ok"
    folder.parent.mkdir(exist_ok=True)
    folder.write_text("no folder")
    status, things = check(program, XDG_CONFIG_HOME=folder.parent)
    assert status == 1 and things["settings"]["found"] == f"{folder} cannot be made: {folder} is no folder"


def test_it_needs_no_other_instance_and_does_not_disturb_one(running):
    _, things = check(running)
    assert things["server"]["verdict"] == "ok"
    assert running.alive and running.launch.alive and running.menu().status == "○ Waiting for phone…"


def test_a_missing_server_is_told_with_its_place(program):
    path = program.folder / "bin/orvaned"
    path.rename(program.folder / "elsewhere")
    status, things = check(program)
    assert status == 1 and things["server"]["verdict"] == "missing" and str(path) in things["server"]["found"]
    path.write_text("no program")
    assert "chmod +x" in check(program)[1]["server"]["advice"]
    path.unlink()
    path.mkdir()
    assert check(program)[1]["server"]["found"] == f"{path} is no file"


def test_who_holds_the_port_is_named(program):
    with socket.socket() as listener:
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            listener.bind(("127.0.0.1", 5555))
        except OSError:
            pytest.skip("another program of this machine has the port")
        listener.listen()
        status, things = check(program)
    assert status == 1 and things["port"]["verdict"] == "missing"
    assert f"process {os.getpid()}" in things["port"]["found"]


def test_without_a_sound_server_or_a_loopback_device_the_command_for_one_is_shown(program):
    status, things = check(program)
    assert status == 1 and things["sound"]["verdict"] == things["loopback"]["verdict"] == "missing"
    assert things["loopback"]["advice"].startswith("pactl load-module module-null-sink")


def test_without_the_library_for_sound_no_sound_server_is_found(program, sound):
    (program.folder / "libpulse.so.0").write_text("not a library")
    status, things = check(program, PULSE_SERVER=sound.address, LD_LIBRARY_PATH=str(program.folder))
    assert status == 1 and things["sound"]["verdict"] == "missing"


@pytest.mark.parametrize("state, verdict, advice", [
    ("device", "ok", ""), ("unauthorized", "missing", "allow USB debugging"),
    ("no permissions (missing udev rules?); see [http://developer.android.com/tools/device.html]", "missing", "sudo")])
def test_phones_on_a_cable_are_told_with_their_states(make_program, adb_daemon, state, verdict, advice):
    _, things = check(make_program(adb=FAKE_ADB), ADB_STATE=state, ANDROID_ADB_SERVER_PORT=adb_daemon)
    assert things["adb"]["found"].endswith("Android Debug Bridge version 1.0.41")
    assert things["phones"]["verdict"] == verdict and f"SERIAL ({state})" in things["phones"]["found"]
    assert advice in things["phones"]["advice"]


def test_adb_is_not_asked_for_phones_while_that_would_start_its_daemon(make_program):
    program = make_program(adb=FAKE_ADB)
    assert check(program)[1]["phones"]["verdict"] == "unknown"
    assert not (program.folder / "share/orvane/adb.asked").exists()


def test_without_adb_the_command_of_the_distribution_is_shown(make_program):
    _, things = check(make_program(adb=None))
    assert things["adb"]["verdict"] == "missing" and things["adb"]["advice"] == "sudo apt install adb"


def test_it_answers_within_three_seconds_whatever_hangs(make_program, adb_daemon):
    program = make_program(adb="#!/bin/sh\nexec sleep 60\n")
    deaf = []
    environment = {}
    for name, variable in (("bus", "DBUS_SYSTEM_BUS_ADDRESS"), ("session", "DBUS_SESSION_BUS_ADDRESS"), ("sound", "PULSE_SERVER")):
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(str(program.folder / name))
        listener.listen()
        deaf.append(listener)
        environment[variable] = ("unix:" if name == "sound" else "unix:path=") + str(program.folder / name)
    display = socket.socket()
    display.bind(("127.0.0.1", 0))
    display.listen()
    number = display.getsockname()[1] - 6000
    begin = time.monotonic()
    status, things = check(program, DISPLAY=f"127.0.0.1:{number}", ANDROID_ADB_SERVER_PORT=adb_daemon, **environment)
    took = time.monotonic() - begin
    for listener in (*deaf, display):
        listener.close()
    assert status == 1 and took < 3, took
    assert things["surface"]["verdict"] == "unknown"
    assert things["server"]["verdict"] == "ok"


def test_nowhere_to_be_shown_is_a_fault(program):
    status, things = check(program, DISPLAY=None)
    assert status == 1 and things["surface"]["verdict"] == "missing"


def test_people_get_a_line_a_thing(program):
    result = program.run("--check")
    assert len(result.stdout.splitlines()) == 11
    assert all(line.split()[0] in ("ok", "missing", "unknown") for line in result.stdout.splitlines())
    assert "Audio server     " in result.stdout


def test_autostart_is_turned_on_and_off_and_shown(program):
    entry = program.home / ".config/autostart/audio.orvane.Orvane.desktop"
    on = program.run("--autostart", "on")
    assert on.returncode == 0 and str(entry) in on.stdout
    assert f'Exec="{program.path}"\n' in entry.read_text()
    assert str(entry) in check(program)[1]["autostart"]["found"]
    off = program.run("--autostart", "off")
    assert off.returncode == 0 and not entry.exists()
    assert "does not start" in check(program)[1]["autostart"]["found"]
    assert program.run("--autostart", "off").returncode == 0
    assert program.run("--autostart").returncode == program.run("--autostart", "maybe").returncode == 2


def test_why_autostart_cannot_be_turned_on_is_told(program):
    here = program.folder / "a\nb"
    here.mkdir()
    program.put(program.path, here / "orvane")
    result = subprocess.run([str(here / "orvane"), "--autostart", "on"], env=program.environment(), text=True, capture_output=True, timeout=20)
    assert result.returncode == 1 and result.stdout == ""
    assert result.stderr.startswith("orvane: an entry for autostart cannot name a program whose path has a line break") and "a␊b" in result.stderr


def test_the_entry_is_one_that_a_desktop_takes(program):
    needs(shutil.which("desktop-file-validate"), "desktop-file-validate")
    program.run("--autostart", "on")
    entry = program.home / ".config/autostart/audio.orvane.Orvane.desktop"
    result = subprocess.run(["desktop-file-validate", str(entry)], capture_output=True, text=True)
    assert result.returncode == 0, result.stdout


def test_the_command_for_a_loopback_device_makes_one(program):
    """Against a real sound server: the command that is advised gives the device that the check then finds."""
    server = SoundServer()
    try:
        _, things = check(program, PULSE_SERVER=server.address)
        command = things["loopback"]["advice"].split()
        assert command[0] == "pactl"
        server.ask(*command[1:])
        _, things = check(program, PULSE_SERVER=server.address)
        assert things["loopback"]["verdict"] == "ok" and things["loopback"]["found"] == "Orvane (16 channels, 8 phones)"
    finally:
        server.close()
