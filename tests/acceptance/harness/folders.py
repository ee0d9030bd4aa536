"""Temporary folders."""

import re
import tempfile
from pathlib import Path


def temporary_folder(prefix):
    """Below TMPDIR where that will do: in these folders are sockets, whose paths are short, and addresses and lists of libraries name
    them, in which a blank, a comma or a colon has a meaning."""
    usual = tempfile.gettempdir()
    plain = re.fullmatch(r"/[\w./-]{,40}", usual, re.ASCII)
    return Path(tempfile.mkdtemp(prefix=prefix, dir=usual if plain else "/tmp"))
