#!/usr/bin/python3
"""Pairs the machine's two adapters with each other, as a user would pair a computer (hci0) and a phone (hci1).

Runs in the machine. Prints nothing on success; fails with an exception when BlueZ refuses or takes too long.
"""

import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

COMPUTER = "/org/bluez/hci0"
PHONE = "/org/bluez/hci1"
SECONDS_FOR_EVERYTHING = 90


class Agent(dbus.service.Object):
    """Agrees to everything: pairing without keyboard and display ("just works") asks nobody."""

    @dbus.service.method("org.bluez.Agent1", in_signature="o")
    def RequestAuthorization(self, device):
        pass

    @dbus.service.method("org.bluez.Agent1", in_signature="os")
    def AuthorizeService(self, device, uuid):
        pass

    @dbus.service.method("org.bluez.Agent1")
    def Release(self):
        pass

    @dbus.service.method("org.bluez.Agent1")
    def Cancel(self):
        pass


def main(computer_name, phone_name):
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    loop = GLib.MainLoop()
    failures = []

    def properties(path):
        return dbus.Interface(bus.get_object("org.bluez", path), dbus.PROPERTIES_IFACE)

    def fail(reason):
        failures.append(reason)
        loop.quit()

    agent = Agent(bus, "/agent")
    manager = dbus.Interface(bus.get_object("org.bluez", "/org/bluez"), "org.bluez.AgentManager1")
    manager.RegisterAgent(agent, "NoInputNoOutput")
    manager.RequestDefaultAgent(agent)

    for path, name in ((COMPUTER, computer_name), (PHONE, phone_name)):
        adapter = properties(path)
        adapter.Set("org.bluez.Adapter1", "Alias", name)
        adapter.Set("org.bluez.Adapter1", "Pairable", True)
    properties(PHONE).Set("org.bluez.Adapter1", "Discoverable", True)
    phone_address = properties(PHONE).Get("org.bluez.Adapter1", "Address")
    device_path = f"{COMPUTER}/dev_{phone_address.replace(':', '_')}"

    def pair():
        computer.StopDiscovery()
        device = dbus.Interface(bus.get_object("org.bluez", device_path), "org.bluez.Device1")
        device.Pair(reply_handler=loop.quit, error_handler=fail, timeout=SECONDS_FOR_EVERYTHING)

    def appeared(path, interfaces):
        if path == device_path and "org.bluez.Device1" in interfaces:
            pair()

    computer = dbus.Interface(bus.get_object("org.bluez", COMPUTER), "org.bluez.Adapter1")
    bus.add_signal_receiver(appeared, "InterfacesAdded", "org.freedesktop.DBus.ObjectManager")
    computer.StartDiscovery()
    GLib.timeout_add_seconds(SECONDS_FOR_EVERYTHING, fail, "the phone did not appear, or did not pair")
    loop.run()
    if failures:
        raise RuntimeError(f"pairing failed: {failures[0]}")


if __name__ == "__main__":
    main(*sys.argv[1:3])
