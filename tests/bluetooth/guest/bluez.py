#!/usr/bin/python3
"""What the tests need of BlueZ and of obexd's client, one command each.

    bluez.py agent                        be the desktop's agent: yes to all; prints "ready"
    bluez.py pair OWN OTHER               find OTHER from the adapter OWN by a search, pair with it, and have BlueZ
                                          learn its services
    bluez.py power ADAPTER on|off         switch an adapter
    bluez.py drop ADAPTER OTHER           end the link between them
    bluez.py forget ADAPTER OTHER         remove the pairing
    bluez.py alias ADAPTER OTHER NAME     give a device another name
    bluez.py trust ADAPTER OTHER yes|no
    bluez.py obex OWN OTHER [channel=N] STEP...
        a file transfer session of obexd's client; the steps: list, get NAME FILE, put FILE NAME, cd NAME, mkdir NAME,
        rm NAME. Prints a line for each, with its seconds.
Adapters and devices are given by address. Exit code 0: all went well; 1: the service refused, and the message says how.
"""
import sys
import time

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

DBusGMainLoop(set_as_default=True)
BLUEZ, OBEX = "org.bluez", "org.bluez.obex"
ADAPTER, DEVICE, PROPERTIES = "org.bluez.Adapter1", "org.bluez.Device1", "org.freedesktop.DBus.Properties"
FILE_TRANSFER = "00001106-0000-1000-8000-00805f9b34fb"
LIMIT = 90


class Failed(Exception):
    pass


def system(path, interface):
    return dbus.Interface(dbus.SystemBus().get_object(BLUEZ, path), interface)


def objects():
    return system("/", "org.freedesktop.DBus.ObjectManager").GetManagedObjects()


def adapter_path(address):
    for path, interfaces in objects().items():
        if str(interfaces.get(ADAPTER, {}).get("Address", "")) == address:
            return str(path)
    raise Failed("no adapter " + address)


def device_path(adapter, address):
    path = adapter_path(adapter) + "/dev_" + address.replace(":", "_")
    return path if path in objects() else None


def need_device(adapter, address):
    path = device_path(adapter, address)
    if not path:
        raise Failed("%s does not know %s" % (adapter, address))
    return path


def wait_until(condition, seconds):
    context, end = GLib.MainContext.default(), time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        context.iteration(False)
        time.sleep(0.05)
    return True


class Agent(dbus.service.Object):
    """Says yes to everything."""

    INTERFACE = "org.bluez.Agent1"

    @dbus.service.method(INTERFACE, in_signature="ou", out_signature="")
    def RequestConfirmation(self, device, passkey):
        pass

    @dbus.service.method(INTERFACE, in_signature="o", out_signature="")
    def RequestAuthorization(self, device):
        pass

    @dbus.service.method(INTERFACE, in_signature="os", out_signature="")
    def AuthorizeService(self, device, uuid):
        print("asked to authorise", device, uuid, flush=True)

    @dbus.service.method(INTERFACE, in_signature="", out_signature="")
    def Cancel(self):
        pass

    @dbus.service.method(INTERFACE, in_signature="", out_signature="")
    def Release(self):
        print("released", flush=True)


def agent():
    loop = GLib.MainLoop()
    own = Agent(dbus.SystemBus(), "/test/agent")

    def register(owner):
        if not owner:
            return
        manager = system("/org/bluez", "org.bluez.AgentManager1")
        manager.RegisterAgent("/test/agent", "NoInputNoOutput")
        manager.RequestDefaultAgent("/test/agent")
        print("ready", flush=True)

    # Each BlueZ needs to be told anew.
    dbus.SystemBus().watch_name_owner(BLUEZ, register)
    loop.run()
    return own


def pair(own, other):
    path = adapter_path(own)
    adapter = system(path, ADAPTER)
    adapter.SetDiscoveryFilter({"Transport": "bredr"})
    adapter.StartDiscovery()
    found = wait_until(lambda: device_path(own, other), 60)
    adapter.StopDiscovery()
    if not found:
        raise Failed("the search did not find " + other)
    print("found", other, flush=True)
    device = system(need_device(own, other), DEVICE)
    if not known(own, other)["Paired"]:
        device.Pair(timeout=60)
    print("paired", other, flush=True)
    learn_services(own, other, device)


def known(own, other):
    """What BlueZ knows of a device."""
    return objects()[need_device(own, other)][DEVICE]


def offers_files(own, other):
    return FILE_TRANSFER in [str(uuid) for uuid in known(own, other)["UUIDs"]]


def learn_services(own, other, device):
    """A link that ends while the devices pair leaves BlueZ with a list of services that lacks some or all, and that it
    takes for whole. As on a desktop, to ask for a connection makes it look again."""
    for _ in range(4):
        if wait_until(lambda: offers_files(own, other), 5):
            return
        print("BlueZ has not learnt all services; again:", *known(own, other)["UUIDs"], flush=True)
        try:
            device.Connect(timeout=60)
        except dbus.DBusException as error:
            print("  ", error, flush=True)  # there may be nothing that it could connect by itself
    raise Failed("BlueZ does not learn the services of " + other)


def set_property(path, interface, name, value):
    system(path, PROPERTIES).Set(interface, name, value)


def power(adapter, state):
    set_property(adapter_path(adapter), ADAPTER, "Powered", dbus.Boolean(state == "on"))


class Session:
    """A session of obexd's client."""

    def __init__(self, own, other, channel):
        self.bus = dbus.SessionBus()
        arguments = {"Target": "ftp", "Source": own}
        if channel:
            arguments["Channel"] = dbus.Byte(channel)
        self.ended = {}
        self.bus.add_signal_receiver(self.changed, "PropertiesChanged", PROPERTIES, path_keyword="path",
                                     arg0="org.bluez.obex.Transfer1")
        self.client = dbus.Interface(self.bus.get_object(OBEX, "/org/bluez/obex"), "org.bluez.obex.Client1")
        self.path = self.client.CreateSession(other, arguments, timeout=LIMIT)
        self.folder = dbus.Interface(self.bus.get_object(OBEX, self.path), "org.bluez.obex.FileTransfer1")

    # A transfer's object is gone once the transfer is over, so its last word has to be caught as it comes.
    def changed(self, _interface, values, _invalid, path=None):
        status = str(values.get("Status", ""))
        if status in ("complete", "error"):
            self.ended[str(path)] = status

    def transfer(self, path):
        if not wait_until_ended(self.ended, str(path)) or self.ended[str(path)] != "complete":
            raise Failed("the transfer failed")

    def step(self, name, words):
        if name == "list":
            for entry in sorted(self.folder.ListFolder(timeout=LIMIT), key=lambda e: str(e["Name"])):
                print("  %s %s" % (entry["Type"], entry["Name"]))
        elif name == "get":
            remote, local = words.pop(0), words.pop(0)
            self.transfer(self.folder.GetFile(local, remote, timeout=LIMIT)[0])
        elif name == "put":
            local, remote = words.pop(0), words.pop(0)
            self.transfer(self.folder.PutFile(local, remote, timeout=LIMIT)[0])
        else:
            call = {"cd": "ChangeFolder", "mkdir": "CreateFolder", "rm": "Delete"}[name]
            getattr(self.folder, call)(words.pop(0), timeout=LIMIT)

    def close(self):
        self.client.RemoveSession(self.path)


def wait_until_ended(ended, path):
    context, end = GLib.MainContext.default(), time.monotonic() + LIMIT
    GLib.timeout_add(200, lambda: path not in ended and time.monotonic() < end)
    while path not in ended and time.monotonic() < end:
        context.iteration(True)
    return path in ended


def obex(own, other, words):
    channel = 0
    if words and words[0].startswith("channel="):
        channel = int(words.pop(0).split("=")[1])
    session = Session(own, other, channel)
    print("connected", flush=True)
    try:
        while words:
            name, start = words.pop(0), time.monotonic()
            session.step(name, words)
            print("%s done in %.3f s" % (name, time.monotonic() - start), flush=True)
    finally:
        session.close()


def main(words):
    command = words.pop(0) if words else "help"
    if command == "agent":
        agent()
    elif command == "pair":
        pair(*words)
    elif command == "power":
        power(*words)
    elif command == "drop":
        system(need_device(*words), DEVICE).Disconnect()
    elif command == "forget":
        system(adapter_path(words[0]), ADAPTER).RemoveDevice(need_device(*words))
    elif command == "alias":
        set_property(need_device(*words[:2]), DEVICE, "Alias", words[2])
    elif command == "trust":
        set_property(need_device(*words[:2]), DEVICE, "Trusted", dbus.Boolean(words[2] == "yes"))
    elif command == "obex":
        obex(words[0], words[1], words[2:])
    else:
        print(__doc__)
        return 2
    return 0


try:
    sys.exit(main(sys.argv[1:]))
except (Failed, dbus.DBusException) as error:
    print("failed:", error, flush=True)
    sys.exit(1)
