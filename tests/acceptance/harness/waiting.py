"""Waiting for conditions, never for time."""

import os
import time

# Seconds; generous, because the machine may be busy. Nothing waits this long when all is well.
PATIENCE = float(os.environ.get("ORVANE_PATIENCE", 20))


def wait_for(condition, what, timeout=PATIENCE):
    """Returns the first true result of `condition`, which may also fail with AssertionError meanwhile."""
    deadline = time.monotonic() + timeout
    pause = 0.002
    complaint = None
    while True:
        try:
            result = condition()
            if result:
                return result
            complaint = None
        except AssertionError as error:
            complaint = error
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {timeout:.0f} s in vain for {what}") from complaint
        time.sleep(pause)
        pause = min(pause * 1.5, 0.05)


def wait_equal(read, expected, timeout=PATIENCE):
    """Waits until `read()` gives `expected`, and shows both when it never does."""
    deadline = time.monotonic() + timeout
    while (seen := read()) != expected and time.monotonic() < deadline:
        time.sleep(0.01)
    assert seen == expected, f"{seen!r} is not {expected!r}"
    return seen


def stays(condition, seconds):
    """True when `condition` holds again and again for that long: for what must not happen."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not condition():
            return False
        time.sleep(0.02)
    return True
