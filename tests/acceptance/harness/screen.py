"""What is on the screen, read and pressed through the accessibility bus (AT-SPI)."""

from gi.repository import Atspi, GLib

from .waiting import wait_for


def application(pid):
    """The program as assistive technology sees it; None while it is not there."""
    desktop = Atspi.get_desktop(0)
    desktop.clear_cache()
    for index in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(index)
        try:
            if child is not None and child.get_process_id() == pid:
                child.clear_cache()
                return child
        except GLib.Error:
            pass
    return None


def _tree(accessible):
    """The object and everything below it, top down."""
    yield accessible
    for index in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield from _tree(child)


def _role(accessible):
    return accessible.get_role_name()


class Window:
    """A top-level window that is showing."""

    def __init__(self, accessible):
        self._accessible = accessible
        self.title = accessible.get_name()
        self.role = _role(accessible)

    def parts(self, *roles):
        return [part for part in _tree(self._accessible) if _role(part) in roles]

    @property
    def texts(self):
        return [part.get_name() for part in self.parts("label") if part.get_name()]

    def place_of(self, start):
        """A point at the beginning of the text that begins so, on the screen."""
        part = next(part for part in self.parts("label") if part.get_name().startswith(start))
        extents = part.get_extents(Atspi.CoordType.SCREEN)
        return extents.x + 8, extents.y + 6

    def _shown_buttons(self):
        buttons = [part for part in self.parts("push button", "button") if part.get_name()]
        place = lambda part: part.get_extents(Atspi.CoordType.SCREEN)  # noqa: E731
        return sorted(buttons, key=lambda part: (place(part).y // 20, place(part).x))

    @property
    def buttons(self):
        """Names as they stand from left to right."""
        return [part.get_name() for part in self._shown_buttons()]

    def press(self, name):
        part = next(part for part in self._shown_buttons() if part.get_name() == name)
        Atspi.Action.do_action(part, 0)

    def default_button(self):
        for part in self._shown_buttons():
            if part.get_state_set().contains(Atspi.StateType.IS_DEFAULT):
                return part.get_name()
        return None

    def text(self):
        """All of the window's multi-line text."""
        part = self.parts("text")[0]
        return Atspi.Text.get_text(part, 0, Atspi.Text.get_character_count(part))

    def scroll_positions(self):
        """(value, largest value) of each scroll bar."""
        return [(Atspi.Value.get_current_value(bar), Atspi.Value.get_maximum_value(bar))
                for bar in self.parts("scroll bar")]

    def size(self):
        extents = self._accessible.get_extents(Atspi.CoordType.SCREEN)
        return extents.width, extents.height

    def is_editable(self):
        return self.parts("text")[0].get_state_set().contains(Atspi.StateType.EDITABLE)


def windows(pid):
    found = application(pid)
    if found is None:
        return []
    result = []
    for index in range(found.get_child_count()):
        child = found.get_child_at_index(index)
        try:
            if child is not None and child.get_state_set().contains(Atspi.StateType.SHOWING):
                result.append(Window(child))
        except GLib.Error:
            pass
    return result


def wait_for_window(pid, matches=lambda window: True, what="a window"):
    def look():
        try:
            return next((window for window in windows(pid) if matches(window)), None)
        except GLib.Error:
            return None

    return wait_for(look, what)


def wait_for_dialog(pid, start):
    """The dialog that has a text beginning so."""
    return wait_for_window(pid, lambda window: any(text.startswith(start) for text in window.texts),
                           f"a dialog that says {start!r}")


def wait_for_no_dialog(pid):
    def gone():
        try:
            return not [window for window in windows(pid) if window.buttons and window.role in ("dialog", "alert")]
        except GLib.Error:  # it went while being looked at
            return False

    wait_for(gone, "the dialog to go")


def log_window(pid):
    return wait_for_window(pid, lambda window: window.title == "Orvane Server Log", "the log window")


class ScreenReader:
    """Hears the name of whatever gets the focus: the way to read popped-up menus, which are in no tree."""

    def __enter__(self):
        self.heard = []
        self._listener = Atspi.EventListener.new(self._hear)
        self._listener.register("object:state-changed:focused")
        return self

    def __exit__(self, *_):
        self._listener.deregister("object:state-changed:focused")

    def _hear(self, event):
        try:
            self.heard.append(event.source.get_name())
        except GLib.Error:  # it has gone
            pass

    def listen(self):
        """Hears everything that has been said so far."""
        while GLib.MainContext.default().iteration(False):
            pass

    def expect(self, name):
        def look():
            self.listen()
            return name in self.heard

        try:
            wait_for(look, "a name")
        except AssertionError:
            assert name in self.heard
