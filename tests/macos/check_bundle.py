#!/usr/bin/env python3
"""check_bundle.py Orvane.app [NOTICE…]: looks at the bundle as macOS will: what its property list says, what lies where, and whether the
executable fits both kinds of Mac and calls the system operations that the program is made of (operations.txt). The bundle must also hold
the notices (files) of what is linked into it, but for the years in them."""
import pathlib, plistlib, re, struct, sys

HERE = pathlib.Path(__file__).parent
CPU = {0x0100000C: "arm64", 0x01000007: "x86_64"}
BUILD_VERSION, MACOS, OLDEST = 0x32, 1, (11, 0)


def slices(data):
    """The Mach-O files that a universal binary holds."""
    magic, count = struct.unpack_from(">II", data)
    assert magic == 0xCAFEBABE, "the executable is not universal"
    for i in range(count):
        _, _, offset, size, _ = struct.unpack_from(">5I", data, 8 + 20 * i)
        yield data[offset : offset + size]


def header(macho):
    magic, cpu, _, _, commands = struct.unpack_from("<5I", macho)
    assert magic == 0xFEEDFACF, "a slice is no 64-bit Mach-O file"
    offset, oldest = 32, None
    for _ in range(commands):
        command, size = struct.unpack_from("<II", macho, offset)
        if command == BUILD_VERSION:
            platform, version = struct.unpack_from("<II", macho, offset + 8)
            assert platform == MACOS, "a slice is for another system"
            oldest = (version >> 16, version >> 8 & 0xFF)
        offset += size
    return CPU.get(cpu, hex(cpu)), oldest


def names(path):
    """Selectors stand in the file as they are; functions and constants with an underscore, classes with a longer prefix."""
    for line in path.read_text().splitlines():
        if line and not line.startswith("#"):
            kind, name = line.split()
            yield name, {"selector": "", "function": "_", "constant": "_", "class": "_OBJC_CLASS_$_"}[kind] + name


def check_executable(path):
    found = {}
    for macho in slices(path.read_bytes()):
        cpu, oldest = header(macho)
        found[cpu] = oldest
        missing = [name for name, text in names(HERE / "operations.txt") if b"\0" + text.encode() + b"\0" not in macho]
        assert not missing, f"the {cpu} slice does not use: {' '.join(missing)}"
    assert found == {"arm64": OLDEST, "x86_64": OLDEST}, f"slices and the oldest macOS they run on: {found}"


def check_info(info):
    expected = {"CFBundleExecutable": "Orvane", "CFBundleIdentifier": "audio.orvane.Orvane", "CFBundlePackageType": "APPL",
                "CFBundleIconFile": "Orvane", "LSUIElement": True, "LSMinimumSystemVersion": "11.0"}
    for key, value in expected.items():
        assert info.get(key) == value, f"Info.plist says {key} = {info.get(key)!r}"
    for use in ("BluetoothAlways", "LocalNetwork", "Microphone"):
        assert info[f"NS{use}UsageDescription"].strip(), f"Info.plist does not say what this is for: {use}"
    assert "NSHumanReadableCopyright" not in info, "Info.plist claims what only a licence can"
    for key in ("CFBundleShortVersionString", "CFBundleVersion"):
        assert all(part.isdigit() for part in info[key].split(".")), f"Info.plist says {key} = {info[key]!r}"


def check_resources(folder):
    for name, width in (("menubar.png", 18), ("menubar@2x.png", 36)):
        data = (folder / name).read_bytes()
        assert data[:8] == b"\x89PNG\r\n\x1a\n" and struct.unpack_from(">II", data, 16) == (width, width), f"{name} is not {width} wide"
    icon = (folder / "Orvane.icns").read_bytes()
    assert icon[:4] == b"icns" and struct.unpack_from(">I", icon, 4)[0] == len(icon), "Orvane.icns is damaged"
    entries = dict(icon_entries(icon))
    assert {"ic04", "ic05", "ic07", "ic08", "ic09", "ic10", "ic11", "ic12", "ic13", "ic14"} == set(entries), f"Orvane.icns has {sorted(entries)}"
    for kind, width in (("ic04", 16), ("ic05", 32)):
        assert entries[kind][:4] == b"ARGB", f"{kind} is not what is shown rightly in this size"
        assert len(unpacked(entries[kind][4:])) == 4 * width * width, f"{kind} has not {width} by {width} pixels"


def icon_entries(icon):
    offset = 8
    while offset < len(icon):
        kind, size = struct.unpack_from(">4sI", icon, offset)
        yield kind.decode(), icon[offset + 8 : offset + size]
        offset += size


def unpacked(data):
    """Of the run lengths in which the small images are stored: up to 127 + 1 bytes as they are, or one byte 3 to 130 times."""
    out, i = bytearray(), 0
    while i < len(data):
        if data[i] < 128:
            out += data[i + 1 : i + 2 + data[i]]
            i += 2 + data[i]
        else:
            out += data[i + 1 : i + 2] * (data[i] - 125)
            i += 2
    return bytes(out)


def check_notices(bundled, notices):
    held = without_years(bundled)
    for notice in notices:
        assert without_years(notice) in held, f"THIRD-PARTY.md does not hold the notice {notice}"


def without_years(path):
    return re.sub(r"\b(19|20)\d\d\b", "", path.read_text())


app = pathlib.Path(sys.argv[1])
try:
    check_info(plistlib.loads((app / "Contents/Info.plist").read_bytes()))
    check_resources(app / "Contents/Resources")
    check_notices(app / "Contents/Resources/THIRD-PARTY.md", map(pathlib.Path, sys.argv[2:]))
    check_executable(app / "Contents/MacOS/Orvane")
    rights = plistlib.loads((HERE / "../../packaging/macos/Orvane.entitlements").read_bytes())
    assert rights == {"com.apple.security.device.audio-input": True}, f"the entitlements are {rights}"
except (AssertionError, KeyError, OSError, plistlib.InvalidFileException) as error:
    sys.exit(f"{app}: {error}")
print(f"{app}: property list, resources, both slices and {sum(1 for _ in names(HERE / 'operations.txt'))} system operations are in place")
