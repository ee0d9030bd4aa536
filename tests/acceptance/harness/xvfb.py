"""An X server without a screen."""

import os
import subprocess


def start_xvfb():
    """Returns its process, and its display. It does not start anew when its last client goes, which would turn away who comes just then."""
    reader, writer = os.pipe()
    process = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", "1440x900x24", "-nolisten", "tcp", "-noreset"],
                               pass_fds=[writer], stderr=subprocess.DEVNULL)
    os.close(writer)
    with os.fdopen(reader) as stream:
        number = stream.readline().strip()
    assert number, "Xvfb did not start"
    return process, f":{number}"
