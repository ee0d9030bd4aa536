"""One session with one real panel for a whole run: `pytest tests/panels --panel xfce`."""

import re
import sys
from pathlib import Path

import gi
import pytest

gi.require_version("Atspi", "2.0")  # The harness imports it.
sys.path[:0] = [str(Path(__file__).parent), str(Path(__file__).parents[1] / "acceptance")]
pytest.register_assert_rewrite("harness")

from harness.processes import end_orphans, prepare_run  # noqa: E402
from harness.installation import REPOSITORY  # noqa: E402
from harness.program import SCREENSHOTS, Program  # noqa: E402
from gnome import Gnome, GnomeAlone  # noqa: E402
from panels import Kde, Lxqt, Mate, Tint2, Xfce  # noqa: E402
from sway import Sway, SwayXwayland  # noqa: E402

PANELS = {panel.name: panel for panel in (Xfce, Lxqt, Sway, SwayXwayland, Mate, Tint2, Kde, Gnome, GnomeAlone)}

prepare_run()


def pytest_addoption(parser):
    parser.addoption("--panel", default="xfce", choices=sorted(PANELS))
    parser.addoption("--dark", action="store_true", help="with the panel's dark theme, where it is not dark anyway")


@pytest.fixture(scope="session")
def panel(request):
    panel = PANELS[request.config.getoption("--panel")](request.config.getoption("--dark"))
    try:
        panel.start()
        yield panel
    finally:
        panel.close()
        end_orphans()


@pytest.fixture
def picture(panel, request):
    """Keeps a picture of the screen."""
    def take(name):
        panel.screenshot(SCREENSHOTS / "panels" / f"{panel.name}{'-dark' if panel.dark else ''}-{name}.png")

    yield take
    failed = getattr(request.node, "failed", False)
    if failed:
        take("failed-" + re.sub(r"\W+", "-", request.node.name).strip("-"))


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    if report.when == "call" and report.failed:
        item.failed = True


@pytest.fixture
def make_program(panel):
    """The program as it is installed, with its icons where the panel finds them."""
    programs = []

    def make():
        program = Program(panel.desktop)
        for home in (program.home, panel.home):
            icons = home / ".local/share/icons/hicolor/scalable/apps"
            icons.mkdir(parents=True, exist_ok=True)
            (icons / "audio.orvane.Orvane-symbolic.svg").write_bytes((REPOSITORY / "packaging/linux/icons/audio.orvane.Orvane-symbolic.svg").read_bytes())
        programs.append(program)
        program.start(**panel.program_environment())
        program.launch = program.server.next_launch()
        return program

    yield make
    for program in programs:
        program.close()


@pytest.fixture
def running(make_program):
    return make_program()
