"""What a test needs of the machine that it runs on."""

import os

import pytest


def needs(there, what):
    """Leaves the test out on a machine without it. Where everything has to be tested, with CI set, that is a failure."""
    if not there:
        (pytest.fail if os.environ.get("CI") else pytest.skip)(f"this machine lacks {what}")
