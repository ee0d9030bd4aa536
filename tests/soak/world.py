"""The program with everything that stands around it, and how each step is done to all of them and to the model of its menu."""

import fcntl
import os
import re
import struct
import termios
import time

from expected_menu import ExpectedMenu
from harness.bluetooth import BluetoothMachine, frame
from harness.desktop import Desktop
from harness.processes import alive, zombies_of
from harness.program import Program
from harness.screen import log_window, wait_for_dialog, wait_for_no_dialog
from harness.sound import SoundServer
from harness.tray import Tray
from harness.waiting import wait_equal, wait_for
from scripted_adb import MODEL, PHONE, ScriptedAdb

ADDRESS = "AA:00:00:00:00:01"
STREAMING = "Bluetooth: streaming from Pixel"
LOOKING = "Bluetooth: looking for Pixel…"
SINKS = ("uid-0", "uid-1", "uid-2")  # Of the devices that the server lists, those that the sound server has.
# A phone whose adb goes before it has told its model is called by its number.
USB_READY = re.compile(f"USB: ready — ({MODEL}|{PHONE})")
USB_IDLE = re.compile("USB: (checking…|no phone connected)")
USB_ROWS = re.compile(f"{USB_READY.pattern}|{USB_IDLE.pattern}|USB: Android tools not installed…|"
                      f"USB: standing aside for Bluetooth — ({MODEL}|{PHONE})")
BLUETOOTH_ROWS = re.compile("Bluetooth: (looking for Pixel…|streaming from Pixel|testing the link to Pixel…|choose a phone…|.*phone.*|.*Pixel.*)")
USB_SETTLES = 15  # Seconds, with a look every two and a machine at work.


class World:
    def __init__(self):
        self.desktop = Desktop()
        self.tray = Tray(self.desktop)
        self.machine = BluetoothMachine()
        self.phone = self.machine.phone(ADDRESS)
        self.machine.bluez.appear()
        self.sound = SoundServer(*((uid, 8) for uid in SINKS))
        self.sound_stands_still = False
        self.program = Program(self.desktop)
        self.adb = ScriptedAdb(self.program.folder / "adb", self.program.folder / "share/orvane/adb")
        self.program.choose_phone(ADDRESS)
        self.plugged = False
        self.has_adb = True
        self.said = 0
        self.model = ExpectedMenu()
        self.start()

    def start(self):
        self.tray.forget_items()
        self.link = self.connection = None
        self.log_shown = False
        self.usb_changed = time.monotonic()
        self.program.start(tray=self.tray, PULSE_SERVER=self.sound.address, **self.machine.environment())
        self.launch = self.program.server.next_launch()
        self.menu = self.program.menu()

    def close(self):
        self.drop_link()
        self.program.close()
        self.tray.close()
        self.sound.close()
        self.machine.close()
        self.desktop.close()

    def do(self, step):
        kind, value = step
        getattr(self, {"close": "close_menu"}.get(kind, kind))(value)

    def describe(self):
        """For who has to find out what went wrong."""
        rows = self.menu.titles() if self.program.alive else []
        links = f"link {self.link is not None}, relay {self.connection is not None}, {len(self.phone.queries)} queries of the phone"
        return "\n".join([self.program.describe()[-5000:], str(rows), links, *self.machine.log()[-30:]])

    # The server.

    def _unread(self):
        """Bytes of the server's that the program has not read."""
        try:
            descriptor = os.open(f"/proc/{self.launch.pid}/fd/1", os.O_WRONLY | os.O_NONBLOCK)
        except OSError:
            return 0
        try:
            return struct.unpack("i", fcntl.ioctl(descriptor, termios.FIONREAD, b"\0" * 4))[0]
        finally:
            os.close(descriptor)

    def say(self, data):
        """One write that is one read: the next one waits for it."""
        if not data:
            return
        self.launch.say(data)
        wait_for(lambda: self._unread() == 0, "the program to read its server's output")
        self.model.hear(data)

    say_junk = say

    def say_cut(self, pieces):
        for piece in pieces:
            self.say(piece)

    def flood(self, number):
        self.launch.flood("nothing of interest\n" * 50, 200 + number)
        wait_for(lambda: self._unread() == 0, "the flood to be read")

    def _relaunched(self):
        self.launch = self.program.server.next_launch()
        self.model.launched()

    def _lost(self):
        """A server that went by itself comes again, and until then the status says so."""
        self.model.exited()
        wait_equal(lambda: self.menu.status, self.model.status)
        self._relaunched()

    def crash(self, number):
        self.launch.exit(number % 256)
        self._lost()

    def kill_server(self, _):
        self.launch.kill()
        self._lost()

    # The user.

    def _click(self, title):
        self.menu.row(title).click()
        self.model.closed()

    def open(self, _):
        self.sync()  # What has been said may have made other rows of those that the panel remembers.
        self.menu.open()
        self.model.opened()

    def close_menu(self, _=None):
        self.menu.close()
        self.model.closed()

    def look_at_details(self, number):
        self.open(None)  # Which brings it up to date, if it is open already.
        if not self.model.phone_rows:
            return
        row, id = self.model.phone_rows[number % len(self.model.phone_rows)]
        rows = self.menu.row("Phones: ").open()[number % len(self.model.phone_rows)].open()
        expected = self.model.details(id)
        shown = [each.title + (" ✓" if each.checked else "") for each in rows]
        assert expected is None or shown == expected, f"{row}: {shown} is not {expected}"
        self.close_menu()

    def toggle_sync(self, _):
        if not self.model.sync_enabled:
            return
        self._click("Keep phones in sync")
        if not self.model.sync_enabled:
            return  # The phones went while the menu was open: the click has closed it, and came too late.
        self.model.toggle_sync()
        self._relaunched()

    def pick_pair(self, number):
        self.open(None)
        known = [at for at, (_, id) in enumerate(self.model.phone_rows) if self.model.details(id)]
        if not known:
            return
        at = known[number % len(known)]
        pair = number % self.model.pairs
        self.menu.row("Phones: ").open()[at].open()[1 + pair].click()
        self.model.closed()
        self.model.pick_pair(self.model.phone_rows[at][1], pair)

    def pick_device(self, number):
        self.open(None)
        if not self.model.device_rows:
            return
        at = number % len(self.model.device_rows)
        self.menu.row("Audio device: ").open()[at].click()
        self.model.closed()
        self.model.pick_device(self.model.device_uids()[at])
        self._relaunched()

    def copy_code(self, _):
        self.sync()
        self._click("Pairing code: ")
        wait_equal(self.desktop.clipboard, self.model.code)

    def _answer(self, row, start, button):
        self.sync()
        self._click(row)
        dialog = wait_for_dialog(self.program.pid, start)
        self._click("Restart Server")  # Does nothing as long as the question stands.
        dialog.press(button)
        wait_for_no_dialog(self.program.pid)

    def new_code(self, number):
        button = "Generate" if number % 2 else "Cancel"
        self._answer("New Pairing Code…", "Generate", button)
        if button == "Generate":
            self.model.new_code()
            self._relaunched()

    def help_with_device(self, _):
        self.close_menu()
        self.say(b"devices: 0\n")
        self._answer("⚠ No audio device", "Orvane needs", "Cancel")

    def show_log(self, _):
        self._click("Show Log")
        log_window(self.program.pid)
        self.log_shown = True

    def close_log(self, _):
        if self.log_shown:
            self.desktop.close_window("Orvane Server Log")
            self.log_shown = False

    def restart(self, _):
        self._click("Restart Server")
        self._relaunched()

    # The cable.

    def plug_in(self, _):
        self._usb(plugged=True)

    def unplug(self, _):
        self._usb(plugged=False)

    def _usb(self, plugged):
        (self.adb.plug_in if plugged else self.adb.unplug)()
        self.plugged = plugged
        self.usb_changed = time.monotonic()

    def lose_tunnel(self, _):
        self.adb.lose_tunnel()

    def hide_adb(self, number):
        if self.has_adb:
            self.adb.uninstall()
        else:
            self.adb.install()
        self.has_adb = not self.has_adb
        self.usb_changed = time.monotonic()

    # The sound server. Whether it is asked in time decides what is warned of: only that it holds up nothing is looked at.

    def turn_volume(self, number):
        if not self.sound_stands_still:
            self.sound.set_output(SINKS[number % len(SINKS)], 100 if number % 2 else number % 100)

    def fix_volume(self, _):
        warning = next((row for row in self.menu.rows() if row.title.endswith("click to set 100%")), None)
        if warning:
            warning.click()
            self.model.closed()

    def stop_sound(self, _):
        if self.sound_stands_still:
            self.sound.go_on()
        else:
            self.sound.stop()
        self.sound_stands_still = not self.sound_stands_still

    def restart_sound(self, _):
        self.sound.kill()
        self.sound.start()
        self.sound_stands_still = False

    # Bluetooth.

    def _bluetooth(self):
        return self.menu.row("Bluetooth: ").title

    def _attach(self):
        self.link.send(frame("A"))
        self.connection = self.machine.server.accept()
        wait_equal(self._bluetooth, STREAMING)

    def connect(self, number):
        if self.link:
            return
        self.link = self.phone.link()
        if number % 4:
            self._attach()

    def stream(self, data):
        if not self.connection:
            return
        self.link.send(frame("d", data))
        heard = b""
        while len(heard) < len(data):
            piece = self.connection.recv(65536)
            assert piece, "the program hung up on the server"
            heard += piece
        assert heard == data, "not what the phone sent"
        self.connection.sendall(data[::-1])
        assert self.link.read(len(data)) == data[::-1], "not what the server sent"

    def test_link(self, number):
        if not self.link or self.connection:
            return
        self.link.send(frame("R") + frame("P", bytes(number)) + frame("P", bytes(7)) + frame("E"))
        answers = []
        while len(answers) < 2:
            piece = self.link.socket.recv(65536)
            assert piece, "the program hung up during a test of the link"
            self.link.received += piece
            answers += self.link.frames()
        assert answers == [("r", b""), ("e", struct.pack(">I", number + 7))], answers

    def _hung_up(self):
        if self.connection:
            wait_for(lambda: self.connection.recv(65536) == b"", "the program to hang up on the server")
            self.connection.close()
        self.link = self.connection = None

    def drop_link(self, _=None):
        if self.link:
            self.link.close()
            self._hung_up()

    def drop_relay(self, _):
        if self.connection:
            self.connection.close()
            self.connection = None
            wait_equal(self._bluetooth, LOOKING)
            self._attach()

    def break_link(self, _):
        if self.link:
            self.link.send(b"Z\0\0\0\0")
            wait_for(self.link.is_closed, "the program to hang up on the phone")
            self._hung_up()

    def forget_phone(self, _):
        self.machine.bluez.remove(self.phone.path)
        self.machine.bluez.add_phone(ADDRESS, "Pixel")

    # The panel, and the program as a whole.

    def panel_returns(self, _):
        self.tray.close()
        self.tray = self.program.tray = Tray(self.desktop)
        self.menu = self.program.menu()
        self.model.closed()

    def start_again(self, _):
        assert self.program.quit() == 0, self.program.describe()
        self._begin_anew()

    def kill_program(self, _):
        self.sync()  # What was chosen is done a moment after the click: by now it is on the disk.
        self.program.process.kill()
        self.program.process.wait()
        self.launch.wait_until_gone()
        self._begin_anew()

    def _begin_anew(self):
        if self.link:
            self._hung_up()
        for name in self.machine.folder.glob("from-*"):
            name.unlink()  # Names of the last program's sockets, which the next one begins to count anew.
        while self.phone.is_called_within(0.01):
            pass  # A link that the last program opened, and that nobody took.
        self.model = ExpectedMenu(self.model.files)
        self.start()

    # What must hold whenever it is looked at.

    def sync(self):
        """Waits until everything said so far shows."""
        self.said += 1
        self.say(f"pairing code: said {self.said}\n".encode())
        wait_for(lambda: self.menu.find(f"Pairing code: said {self.said} "), "the program to follow its server")

    def check(self):
        assert self.program.alive, self.program.describe()
        assert "Sanitizer:" not in self.program.output, self.program.output
        self.sync()
        wait_equal(self._shown, self.model.rows() + [self._submenu("phones"), self._submenu("devices")], 5)
        files = {name: self.program.settings(name).read_text() for name in ("device", "channels", "pairing") if self.program.settings(name).exists()}
        assert files == self.model.files, f"{files} is not {self.model.files}"
        self._check_links()
        wait_for(lambda: not zombies_of(self.program.pid), "every child to be taken leave of", 5)
        assert alive(self.launch.pid), "the server has gone"

    def _submenu(self, which):
        if which == "phones":
            return [row for row, _ in self.model.phone_rows]
        rows = [(name, active) for name, active in self.model.device_rows]
        return [*rows, ("—", False), ("Install BlackHole…", False)] if rows else []

    def _shown(self):
        rows = [row for row in self.menu.rows() if not row.is_separator]
        above = [row for row in rows if not row.title.startswith(("USB: ", "Bluetooth: "))][:6]
        phones, devices = above[3], above[5]
        return [(row.title, row.enabled, row.checked) for row in above] + [
            self.menu.titles(phones.id), [(row.title, row.checked) for row in self.menu.rows(devices.id)]]

    def _check_links(self):
        usb, bluetooth = self.menu.row("USB: ").title, self._bluetooth()
        assert USB_ROWS.fullmatch(usb), usb
        assert BLUETOOTH_ROWS.fullmatch(bluetooth), bluetooth
        assert not self.connection or bluetooth == STREAMING, bluetooth
        if bluetooth != LOOKING:
            self.usb_changed = time.monotonic()  # The tunnel may stand aside until then.
        elif time.monotonic() > self.usb_changed + USB_SETTLES:
            wanted = re.compile("USB: Android tools not installed…") if not self.has_adb else USB_READY if self.plugged else USB_IDLE
            assert wanted.fullmatch(usb), usb
