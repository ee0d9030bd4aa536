"""Memory as on a machine where no other program has the same libraries open, although others do."""

import ctypes
import os
import shutil
from contextlib import contextmanager
from pathlib import Path

CLONE_NEWNS = 0x20000
MS_BIND, MS_REC, MS_PRIVATE = 0x1000, 0x4000, 0x40000


def files_of(pid):
    """What a process has mapped of the system's files."""
    found = set()
    for line in Path(f"/proc/{pid}/maps").read_text().splitlines():
        path = line.split(maxsplit=5)[-1]
        if path.startswith(("/usr/", "/lib/")) and os.path.isfile(path):
            found.add(path)
    return found


def _call(function, *arguments):
    libc = ctypes.CDLL(None, use_errno=True)
    if getattr(libc, function)(*arguments) != 0:
        raise OSError(ctypes.get_errno(), function)


def _mount(source, target, flags):
    _call("mount", source and os.fsencode(source), os.fsencode(target), None, ctypes.c_ulong(flags), None)


@contextmanager
def copies_of(files, folder):
    """Whatever is started inside, by this thread, finds copies in the place of these files, which nobody else has mapped. For root."""
    folder.mkdir()
    outside = os.open("/proc/thread-self/ns/mnt", os.O_RDONLY | os.O_CLOEXEC)
    _call("unshare", CLONE_NEWNS)
    try:
        _mount(None, "/", MS_REC | MS_PRIVATE)
        for number, path in enumerate(sorted(files)):
            shutil.copy(path, folder / str(number))
            _mount(folder / str(number), path, MS_BIND)
        yield
    finally:
        _call("setns", outside, CLONE_NEWNS)
        os.close(outside)
