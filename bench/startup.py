"""From exec to the icon in the panel's tray, and from the menu's last row to the end."""

import time

from harness.menu import MenuView, TrayMenu
from harness.waiting import wait_for
from rows import Row


LAST_ROWS = ("Quit", "Exit", "Quit Orvane")


def start_and_quit(scene, program):
    """How long each took, in ms."""
    scene.tray.forget_items()
    begin = time.perf_counter()
    program.start()
    item = scene.tray.wait_for_item()
    started = 1000 * (scene.tray.registered - begin)
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
    ours = scene.orvane()
    peers = scene.peers()
    starts = {name: Row("exec → icon", "ms", name, goal=None if name.startswith("bare") else 1.0, fails_at=6) for name in peers}
    ends = {name: Row("Quit → end", "ms", name, fails_at=30) for name in peers}
    with scene.using(ours, *peers.values()):
        for turn in range(scene.rounds + 1):
            started, ended = start_and_quit(scene, ours)
            for name, peer in peers.items():
                peer_started, peer_ended = start_and_quit(scene, peer)
                if turn > 0:  # In the first files are read from the disk, and folders made.
                    starts[name].add(started, peer_started)
                    ends[name].add(ended, peer_ended)
    return [*starts.values(), *ends.values()]
