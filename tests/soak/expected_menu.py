"""The menu as the server's lines and the user's choices make it: a plain model of what the program has been told, written without it."""

NEWLINES = ("\r\n", "\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029")
SPACES = "\t \u00a0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200a\u202f\u205f\u3000"
NO_DEVICE = "⚠ No audio device — Install BlackHole…"


def lines_of(text):
    for newline in NEWLINES:
        text = text.replace(newline, "\n")
    return [line for line in text.split("\n") if line]


def whole(text, low=-2**63, high=2**63 - 1):
    """None when it is no number as the server writes them."""
    digits = text[1:] if text[:1] in ("+", "-") else text
    if not digits or set(digits) - set("0123456789"):
        return None
    return int(text) if low <= int(text) <= high else None


def decimal(text):
    try:
        return float(text) if text == text.strip() and "_" not in text else None
    except ValueError:
        return None


def pair(first):
    return f"{first}–{first + 1}"


class Phone:
    def __init__(self, line):
        fields = line.split("\t", 13)
        assert len(fields) == 14
        self.first, self.buffer, self.target, self.dropouts = (whole(fields[i]) for i in (2, 4, 5, 6))
        self.packets, self.id = whole(fields[3], 0, 2**64 - 1), whole(fields[12], 0, 2**32 - 1)
        self.round_trip, self.delay = decimal(fields[7]), decimal(fields[8])
        self.preset, self.label, self.form, self.name = fields[9], fields[10], fields[11], fields[13]
        assert None not in (whole(fields[1]), self.first, self.packets, self.buffer, self.target, self.dropouts, self.round_trip,
                            self.delay, self.id)

    @property
    def signature(self):
        return self.id, self.first, self.name, self.dropouts >= 1

    @property
    def row(self):
        return f"{self.name}   →   ch {pair(self.first)}" + (f"  ⚠ {self.dropouts}" if self.dropouts >= 1 else "")

    def details(self, pairs):
        rows = ["Send to channels", *(pair(2 * each + 1) + (" ✓" if 2 * each + 1 == self.first else "") for each in range(pairs)), "—",
                f"Buffer {self.buffer} ms (target {self.target} ms)", f"Profile: {self.preset} · {self.form.upper()}"]
        rows += [f"Network delay {self.delay:.1f} ms"] if self.delay >= 0 else []
        rows += [f"Round trip {self.round_trip:.1f} ms"] if self.round_trip > 0 else []
        return [*rows, f"Dropouts {self.dropouts} · packets {self.packets}", f"Address {self.label}"]


class Device:
    def __init__(self, line):
        fields = line.split("\t", 5)
        assert len(fields) == 6
        self.active, self.channels, self.first = fields[1] == "1", whole(fields[2]), whole(fields[3])
        self.uid, self.name = fields[4], fields[5]
        assert None not in (self.channels, self.first)

    @property
    def signature(self):
        return self.uid, self.active, self.channels

    @property
    def pairs(self):
        return 1 if self.channels < 4 else self.channels // 2

    @property
    def title(self):
        return f"Audio device: {self.name}" + (f"  ·  {self.pairs} phone slots" if self.pairs >= 2 else "")


class Block:
    """Records between a header and the last one that it announces."""

    def __init__(self, make):
        self._make = make
        self._announced = 0
        self._collected = []

    def open(self, count):
        """The list to show from now on, if there is one."""
        self._announced = whole(count.strip(SPACES)) or 0
        self._collected = []
        return [] if self._announced == 0 else None

    def add(self, line):
        try:
            self._collected.append(self._make(line))
        except AssertionError:
            pass
        if self._announced <= 0 or len(self._collected) < self._announced:
            return None
        listed, self._collected, self._announced = self._collected, [], 0
        return listed


class ExpectedMenu:
    def __init__(self, settings=None):
        self.status = "○ Waiting for phone…"
        self.code = None
        self.aligned = self.sync_enabled = True
        self.phones, self.devices = [], []
        self.no_driver = False
        self.chosen, self.chosen_channel = "", 0
        self.files = dict(settings or {})
        self._pinned = {}
        self._phone_block, self._device_block = Block(Phone), Block(Device)
        self._open = self._put_off = False
        self._phone_signature, self._device_signature = [], []
        self.phones_title, self.phone_rows = "Phones: none", []
        self.device_title, self.device_rows = "Audio device: …", []

    # What the server does.

    def launched(self):
        self.status = "○ Waiting for phone…"

    def exited(self):
        self.status = "⚠ Server stopped — restarting…"

    def hear(self, data):
        """One read of the server's output."""
        try:
            text = data.decode()
        except UnicodeDecodeError:
            return
        for line in lines_of(text):
            self._hear_line(line)

    def _hear_line(self, line):
        if "devices: " in line:
            self._list_devices(self._device_block.open(line.split("devices: ", 1)[1]))
        elif line.startswith("device:\t"):
            self._list_devices(self._device_block.add(line))
        elif "sessions: " in line:
            self._list_phones(self._phone_block.open(line.split("sessions: ", 1)[1]))
        elif line.startswith("session:\t"):
            self._list_phones(self._phone_block.add(line))
        else:
            self._hear_report(line)

    def _hear_report(self, line):
        if "align=off" in line or "align=on" in line:
            self.aligned = "align=off" not in line
        if "pairing code: " in line:
            self.code = line.split("pairing code: ", 1)[1].strip(SPACES)
        if "pairing: REJECTED" in line:
            self.status = "⚠ Phone used the wrong pairing code"
            return
        if "pairing: too many wrong codes" in line:
            self.status = "⚠ Too many wrong codes — paused"
            return
        if "phone=yes" in line:
            count = f"● {len(self.phones)} phone{'' if len(self.phones) == 1 else 's'}"
            self.status = count + (" (⚠ no audio device)" if self.no_driver else " connected")
        elif "phone=waiting" in line:
            self.status = "○ Waiting (⚠ no audio device)" if self.no_driver else "○ Waiting for phone…"
        if "routing to default-output" in line:
            self.no_driver = True
        if "routing to VIRTUAL" in line:
            self.no_driver = False

    def _list_phones(self, phones):
        if phones is not None:
            self.phones = phones
            self._show_phones()

    def _list_devices(self, devices):
        if devices is not None:
            self.devices = devices
            self._show_devices()

    # What shows of it: nothing is exchanged in a menu that is open.

    def _show_phones(self):
        signature = [phone.signature for phone in self.phones]
        if signature == self._phone_signature:
            return
        if self._open:
            self._put_off = True
            return
        self._phone_signature = signature
        self.phones_title = f"Phones: {len(self.phones) or 'none'} connected"
        self.phone_rows = [(phone.row, phone.id) for phone in self.phones]
        self.sync_enabled = len(self.phones) >= 2

    def _show_devices(self):
        signature = [device.signature for device in self.devices]
        if signature == self._device_signature and self.devices:
            return
        if self._open:
            self._put_off = True
            return
        self._device_signature = signature
        shown = next((device for device in self.devices if device.active), self.devices[0] if self.devices else None)
        self.device_title = shown.title if shown else NO_DEVICE
        self.device_rows = [(device.name, device.active) for device in self.devices]
        if shown and shown.active and not self.chosen:
            self.chosen, self.chosen_channel = shown.uid, shown.first

    def opened(self):
        """Opened again while it is open, it shows what was held back: the panel looks afresh."""
        if self._open:
            self.closed()
        self._open = True

    def closed(self):
        self._open = False
        if self._put_off:
            self._put_off = False
            self._show_phones()
            self._show_devices()

    def device_uids(self):
        return [uid for uid, _, _ in self._device_signature]

    @property
    def pairs(self):
        active = next((device for device in self.devices if device.active), None)
        return min(active.pairs, 512) if active else 1

    def details(self, phone_id):
        """None for a phone that has gone: its rows stay as they were."""
        phone = next((phone for phone in self.phones if phone.id == phone_id), None)
        return phone.details(self.pairs) if phone else None

    # What the user does.

    def toggle_sync(self):
        self.aligned = not self.aligned
        self._write_device()

    def pick_device(self, uid):
        self.chosen, self.chosen_channel = uid, 0
        self._write_device()

    def pick_pair(self, phone_id, number):
        self._pinned[phone_id] = number
        self.files["channels"] = "".join(sorted(f"{phone}={each}\n" for phone, each in self._pinned.items()))

    def new_code(self):
        self.code = None
        self.files.pop("pairing", None)

    def _write_device(self):
        self.files["device"] = f"uid={self.chosen}\nchannel={self.chosen_channel}\nalign={int(self.aligned)}\n"

    def rows(self):
        """The rows above the line, each as (title, enabled, checked); those of the two links are the links' own."""
        code = "Pairing code: …" if self.code is None else f"Pairing code: {self.code}   (click to copy)"
        return [(self.status, False, False), (code, True, False), ("New Pairing Code…", True, False),
                (self.phones_title, bool(self.phone_rows), False), ("Keep phones in sync", self.sync_enabled, self.aligned),
                (self.device_title, self.device_title == NO_DEVICE or bool(self.device_rows), False)]
