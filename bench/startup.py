"""From exec to the icon in the panel's tray, and from the menu's last row to the end."""

import time

from harness.menu import MenuView, TrayMenu
from harness.program import QUIET_ADB
from harness.processes import end
from harness.waiting import stays, wait_for
from programs import BARE, BareTerminal
from rows import Row

LAST_ROWS = ("Quit", "Exit", "Quit Orvane")


def start(scene, program, name, attempts=3):
    """From exec to the icon, in ms, and the icon. A peer that crashes at its start, or hangs, is started again."""
    scene.tray.forget_items()
    begin = time.perf_counter()
    program.start()
    if stays(lambda: not scene.tray.item_names() and program.process.poll() is None, 8) or not scene.tray.item_names():
        assert attempts > 1 and name != "Orvane", f"{name} shows no icon; its status is {program.process.poll()}"
        end(program.process)
        return start(scene, program, name, attempts - 1)
    return 1000 * (scene.tray.registered - begin), scene.tray.wait_for_item()


def start_and_quit(scene, program, name="Orvane"):
    """How long each took, in ms."""
    started, item = start(scene, program, name)
    menu = TrayMenu(MenuView(item, [], lambda: None))
    last = wait_for(lambda: next((row for row in menu.rows() if row.title in LAST_ROWS), None), "a row to quit by")
    time.sleep(0.3)  # Until it is idle.
    begin = time.perf_counter()
    if program.leaves_by_menu:
        menu.event_without_reply(last.id, "clicked")
    else:
        program.process.terminate()
    program.process.wait(20)
    return started, 1000 * (time.perf_counter() - begin)


def measure(scene):
    ours = scene.orvane(adb=QUIET_ADB)
    peers = scene.peers()
    names = [name for name in peers if name != BARE] or [BARE]
    starts = {name: Row("exec → icon", "ms", name, goal=None if name == BARE else 1.0, fails_at=8, limit=BARE) for name in names}
    ends = {name: Row("Quit → end", "ms", name, fails_at=40, limit=BARE) for name in names}
    with scene.using(ours, *peers.values()):
        for turn in range(scene.rounds + 1):
            started, ended = start_and_quit(scene, ours)
            theirs = {name: start_and_quit(scene, peer, name) for name, peer in peers.items()}
            if turn == 0:
                continue  # In the first, files are read from the disk, and folders made.
            for name in names:
                starts[name].add(started, theirs[name][0], theirs[BARE][0])
                ends[name].add(ended, theirs[name][1], theirs[BARE][1])
    return [*starts.values(), on_terminal(scene), *ends.values()]


def on_terminal(scene):
    row = Row("exec → first line on a terminal", "ms", fails_at=2000, limit=BareTerminal.NAME)
    for turn in range(scene.rounds + 1):
        program = scene.orvane(adb=QUIET_ADB)
        with scene.using(program):
            begin = time.perf_counter()
            shown = program.start_on_terminal(tty=False).surface.wait_for("\n")
        bare = BareTerminal()
        with scene.using(bare):
            bare_begin = time.perf_counter()
            bare.start()
            bare_shown = time.perf_counter()
        if turn > 0:
            row.add(1000 * (shown - begin), limit=1000 * (bare_shown - bare_begin))
    return row
