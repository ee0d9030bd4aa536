"""The settings files as the server may find them at any moment."""

import os
import threading
import time


class BusyReader:
    """Reads a file over and over from a thread of its own, and keeps every different text and inode seen."""

    def __init__(self, path, rest=0):
        """`rest`: seconds between one read and the next."""
        self.path = path
        self.reads = 0
        self.texts = set()
        self.inodes = set()
        self.missed = 0  # Times that there was no file any more.
        self._rest = rest
        self._stopping = threading.Event()
        self._thread = threading.Thread(target=self._read)
        self._thread.start()

    def _read(self):
        while not self._stopping.is_set():
            if self._rest:
                time.sleep(self._rest)
            try:
                descriptor = os.open(self.path, os.O_RDONLY)
            except FileNotFoundError:
                self.missed += self.reads > 0
                continue
            self.texts.add(os.read(descriptor, 10000))
            self.inodes.add(os.fstat(descriptor).st_ino)
            os.close(descriptor)
            self.reads += 1

    def stop(self):
        self._stopping.set()
        self._thread.join()
