"""Where the acceptance tests' harness is, which plays all the other parts here, too. To be imported before it."""

import sys
from pathlib import Path

import gi

REPOSITORY = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(REPOSITORY / "tests/acceptance"))
gi.require_version("Atspi", "2.0")
