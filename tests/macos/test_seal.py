#!/usr/bin/env python3
"""test_seal.py Orvane.app: seals copies of the bundle, changes each in another way, and expects verify_seal.py to say what was changed; and
to find nothing wrong with those that nobody touched, whatever had been signed before."""
import pathlib, plistlib, shutil, struct, subprocess, sys, tempfile

HERE = pathlib.Path(__file__).resolve().parent
SEAL = HERE.parents[1] / "packaging/macos/seal"
LIST = "Contents/_CodeSignature/CodeResources"


def replace_in(name, before, after):
    def change(app):
        path = app / "Contents" / name
        data = path.read_bytes()
        assert before in data, f"{name} has no {before!r}"
        path.write_bytes(data.replace(before, after, 1))
    return change


def flip(name, where, slice_number=0):
    """Another bit, so many bytes into a slice, from its end when `where` is negative."""
    def change(app):
        path = app / "Contents" / name
        data = bytearray(path.read_bytes())
        start, size = 0, len(data)
        if data[:4] == b"\xca\xfe\xba\xbe":
            start, size = struct.unpack_from(">II", data, 16 + 20 * slice_number)
        data[start + (where if where >= 0 else size + where)] ^= 1
        path.write_bytes(data)
    return change


def append(name, data):
    return lambda app: (app / "Contents" / name).open("ab").write(data)


def remove(name):
    return lambda app: (app / "Contents" / name).unlink()


def edit_list(change):
    def edit(app):
        path = app / LIST
        seal = plistlib.loads(path.read_bytes())
        change(seal)
        path.write_bytes(plistlib.dumps(seal))
    return edit


def exchange_nested(app):
    """Another program that is signed well."""
    shutil.copy(app / "Contents/MacOS/Orvane", app / "Contents/MacOS/orvaned")


def link(app):
    (app / "Contents/Resources/link").symlink_to("/etc/hosts")


# What is done to a sealed bundle, and what is to be said of it.
FAULTS = [
    (append("Resources/menubar.png", b"x"), "Resources/menubar.png was changed"),
    (append("Resources/new", b"x"), "Resources/new is not sealed"),
    (append("new", b"x"), "new is not sealed"),
    (link, "Resources/link is not sealed"),
    (remove("Resources/Orvane.icns"), "not there: Resources/Orvane.icns"),
    (replace_in("Info.plist", b"11.0", b"10.0"), "does not cover this Info.plist"),
    (replace_in("Info.plist", b"audio.orvane.Orvane", b"audio.orvane.Other!"), "the signature is not audio.orvane.Other!'s"),
    (edit_list(lambda seal: seal["files2"].pop("Resources/menubar.png")), "Resources/menubar.png is not sealed"),
    (edit_list(lambda seal: seal["rules2"].update({"^Resources/menu": {"omit": True, "weight": 3000.0}})), "the seal leaves out ^Resources/menu"),
    (edit_list(lambda seal: seal.update(note="")), "does not cover this CodeResources"),
    (flip("MacOS/Orvane", 0x2000), "Orvane for x86_64: page 2 was changed"),
    (flip("MacOS/Orvane", 0x5000, 1), "Orvane for arm64: page 5 was changed"),
    (append("MacOS/Orvane", b"\0"), "something follows the last slice"),
    (flip("MacOS/Orvane", -1), "frame is damaged"),
    (flip("MacOS/orvaned", 0x3000), "orvaned for x86_64: page 3 was changed"),
    (exchange_nested, "orvaned for x86_64: the signature is not audio.orvane.orvaned's"),
    (remove(LIST.removeprefix("Contents/")), "No such file"),
]


def verify(app):
    run = subprocess.run([sys.executable, HERE / "verify_seal.py", app, "MacOS/orvaned"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return run.returncode, run.stdout


def sealed_copy(source, folder):
    app = folder / "Orvane.app"
    shutil.rmtree(app, ignore_errors=True)
    shutil.copytree(source, app, symlinks=True)
    nested = app / "Contents/MacOS/orvaned"
    if not nested.exists():  # Any program will do.
        shutil.copy(app / "Contents/MacOS/Orvane", nested)
    subprocess.run([SEAL, app], check=True)
    return app


def unsigned(macho):
    """As a linker leaves a program for Intel: without a signature, and without the load command that tells of one."""
    data, at = bytearray(macho), 32
    count, size = struct.unpack_from("<II", data, 16)
    for _ in range(count):
        command, length = struct.unpack_from("<II", data, at)
        if command == 0x19 and data[at + 8 : at + 18] == b"__LINKEDIT":
            linkedit = at
        if command == 0x1D:
            place, end = at, struct.unpack_from("<I", data, at + 8)[0]
        at += length
    start, = struct.unpack_from("<Q", data, linkedit + 40)
    struct.pack_into("<Q", data, linkedit + 48, end - start)
    data[place : 32 + size] = data[place + 16 : 32 + size] + bytes(16)
    struct.pack_into("<II", data, 16, count - 1, size - 16)
    return bytes(data[:end])


def thin(path, slice_number):
    data = path.read_bytes()
    offset, size = struct.unpack_from(">II", data, 16 + 20 * slice_number)
    return data[offset : offset + size]


def unsigned_programs(source, folder):
    """Programs that no linker has signed, for one processor each."""
    for number in (0, 1):
        app = sealed_copy(source, folder)
        for name in ("Orvane", "orvaned"):
            path = app / "Contents/MacOS" / name
            path.write_bytes(unsigned(thin(path, number)))
        yield app


def main():
    source, failures = sys.argv[1], []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        app = sealed_copy(source, folder)
        once = {path: path.read_bytes() for path in app.rglob("*") if path.is_file()}
        subprocess.run([SEAL, app], check=True)
        if once != {path: path.read_bytes() for path in app.rglob("*") if path.is_file()}:
            failures.append("sealing a second time makes another bundle")
        status, output = verify(app)
        if status:
            failures.append(f"a bundle that nobody touched: {output}")
        for app in unsigned_programs(source, folder):
            before, _ = verify(app)
            subprocess.run([SEAL, app], check=True)
            status, output = verify(app)
            if not before or status:
                failures.append(f"programs without a signature: {before}, sealed: {output}")
        for change, message in FAULTS:
            app = sealed_copy(source, folder)
            change(app)
            status, output = verify(app)
            if status != 1 or message not in output:
                failures.append(f"expected {message!r}, got {status}: {output}")
    print(f"{len(FAULTS)} ways of breaking a seal" + ("" if failures else ", all found"))
    sys.exit("\n".join(failures) or 0)


main()
