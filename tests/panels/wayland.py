"""A session without X11 and without a compositor yet."""

import os
import pwd
import shutil
import subprocess

from gi.repository import Gio

from harness.folders import temporary_folder
from harness.processes import end

# A session bus that lets Orvane in, too, which runs with the tests' rights.
BUS = """<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <standard_session_servicedirs/>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>"""


class Account:
    """Compositors refuse to run with root's rights: where the tests have them, their sessions belong to nobody."""

    def __init__(self):
        self.entry = pwd.getpwnam("nobody") if os.getuid() == 0 else pwd.getpwuid(os.getuid())
        own = self.entry.pw_uid == os.getuid()
        self.prefix = [] if own else ["setpriv", f"--reuid={self.entry.pw_uid}", f"--regid={self.entry.pw_gid}", "--clear-groups", "--"]

    def give(self, folder):
        for path in (folder, *folder.rglob("*")):
            os.chown(path, self.entry.pw_uid, self.entry.pw_gid)


class WaylandDesktop:
    """A session bus and a folder, of that account; what is to be shown on comes later."""

    def __init__(self, account):
        self.folder = temporary_folder("orvane-desktop-")
        self.folder.chmod(0o711)
        self.run = self.folder / "panel-run"
        self.run.mkdir(mode=0o700)
        (self.run / "bus.conf").write_text(BUS.format(folder=self.run))
        account.give(self.run)
        self._bus = subprocess.Popen(
            [*account.prefix, "dbus-daemon", f"--config-file={self.run}/bus.conf", "--nofork", "--print-address=1"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env={"PATH": "/usr/bin:/bin", "XDG_RUNTIME_DIR": str(self.run)})
        self._address = self._bus.stdout.readline().strip()

    def connect(self):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        return Gio.DBusConnection.new_for_address_sync(self._address, flags, None, None)

    def environment(self):
        return {"DBUS_SESSION_BUS_ADDRESS": self._address}

    def close(self):
        end(self._bus)
        shutil.rmtree(self.folder, ignore_errors=True)
