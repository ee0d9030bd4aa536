#!/usr/bin/env python3
"""test_drive_app.py: has drive-app drive an imagined app, which shows what AppKit is expected to show of the first rows, the log and the
end; and expects it to be content with that, and to tell of each thing that is otherwise."""
import os, pathlib, plistlib, subprocess, sys, tempfile

HERE = pathlib.Path(__file__).resolve().parent

# Speaks the driver's language, with a server beside it as the app has. `OTHERWISE` is what is wrong with it.
APP = '''#!/usr/bin/env python3
import os, pathlib, socket, subprocess, sys, threading
sys.path[:0] = [{acceptance!r}]
from importlib.machinery import SourceFileLoader
sys.dont_write_bytecode = True
drive_app = SourceFileLoader("drive_app", {drive_app!r}).load_module()
from harness.expected import AT_START, NO_BLUETOOTH_PHONE, WAITING
otherwise = {otherwise!r}
server = subprocess.Popen([pathlib.Path(__file__).parent / "orvaned"], stdout=subprocess.PIPE)
log, shown = [], False
def read():
    while piece := os.read(server.stdout.fileno(), 65536):
        log.append(piece.decode())
threading.Thread(target=read, daemon=True).start()
connection = socket.socket(socket.AF_UNIX)
connection.connect(os.environ["ORVANE_DRIVER"])
stream = connection.makefile("rw", encoding="utf-8", newline="\\n")
def tell(*words):
    stream.write(drive_app.encode(words))
    stream.flush()
def tell_rows(rows):
    for row in rows:
        title = "Show log" if otherwise == "title" and row.title == "Show Log" else row.title
        shown = row if otherwise == "enabling" else row.as_appkit_shows_it()
        key = "?" + row.key if otherwise == "key" and row.key else row.key.lower()
        mark = "off" if otherwise == "mark" else "on" if row.checked else "off"
        tell("row", "0", title, "enabled" if shown.enabled else "disabled", mark, key)
        if otherwise == "row missing" and row.title == "Phones: none":
            return
for line in stream:
    name, *words = drive_app.decode(line[:-1])
    if name == "home":
        tell("home", "/" if otherwise == "home" else os.environ["HOME"])
    elif name == "rows":
        tell_rows(NO_BLUETOOTH_PHONE if words else AT_START)
    elif name == "icon":
        tell("icon", "coloured" if otherwise == "icon" else "template", WAITING, "" if otherwise == "label" else WAITING)
    elif name == "mainMenu":
        for key, title in drive_app.LOG_KEYS.items():
            tell("row", "1", title, "enabled", "off", "" if otherwise == "log key" and key == "A" else key.lower())
    elif name == "log" and not shown:
        tell("refused", "no log is shown")
        continue
    elif name == "log":
        tell("log", "editable" if otherwise == "editable" else "fixed", "".join(log).replace("%s", "" if otherwise == "text" else "%s"))
    elif words == ["Show Log"]:
        shown = True
    elif words == ["Quit Orvane"]:
        tell("done")
        if otherwise != "server survives":
            server.terminate()
            server.wait()
        sys.exit(3 if otherwise == "status" else 0)
    else:
        tell("refused", "what?")
        continue
    tell("done")
'''

# What is otherwise, in which journey, and what is told of it.
FAULTS = {
    "title": ("first_look", "Show Log"),
    "enabling": ("first_look", "USB: checking…"),
    "key": ("first_look", "Show Log"),
    "mark": ("first_look", "Keep phones in sync"),
    "row missing": ("first_look", "Audio device"),
    "icon": ("first_look", "True"),
    "label": ("first_look", "VoiceOver reads ''"),
    "home": ("first_look", "would change the settings in /"),
    "editable": ("the_log", "the log can be edited"),
    "text": ("the_log", "in the log"),
    "status": ("quitting", "quitting"),
    "server survives": ("quitting", "the server's end"),
    "log key": ("keys_of_the_log_window", "Select All"),
}


def drive(folder, otherwise, journeys):
    app, driven = folder / "Orvane.app", folder / "driven"
    (app / "Contents/MacOS").mkdir(parents=True, exist_ok=True)
    (app / "Contents/Resources").mkdir(exist_ok=True)
    (app / "Contents/Info.plist").write_bytes(plistlib.dumps({"CFBundleExecutable": "Orvane", "CFBundleIdentifier": "test.app"}))
    driven.write_text(APP.format(acceptance=str(HERE.parent / "acceptance"), drive_app=str(HERE / "drive-app"), otherwise=otherwise))
    driven.chmod(0o755)
    command = [sys.executable, "-B", HERE / "drive-app", app, driven, *journeys]
    patience = "3" if otherwise else "20"  # What is otherwise may be waited for in vain.
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120,
                         env={**os.environ, "ORVANE_PATIENCE": patience})
    return run.returncode, run.stdout


def main():
    failures = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        status, output = drive(folder, None, sorted({journey for journey, _ in FAULTS.values()}))
        if status:
            failures.append(f"an app as expected: {output}")
        for fault, (journey, told) in FAULTS.items():
            status, output = drive(folder, fault, [journey])
            if status != 1 or told not in output:
                failures.append(f"{fault}: expected to be told of {told!r}, got {status}: {output}")
    print(f"{len(FAULTS)} ways of not being as expected" + ("" if failures else ", all told"))
    sys.exit("\n".join(failures) or 0)


main()
