#!/usr/bin/env python3
"""Stands where NetworkManager and wpa_supplicant stand on the system bus, both over one simulated air.

It answers each line of its standard input with one when that is done. Texts are in hexadecimal, as the name
of a network is any bytes.
  start nm|supplicant             it is on the bus when that is answered, and its first scan is over
  stop nm|supplicant              as a crash does
  radio BSSID ssid=HEX [frequency=MHZ] [signal=DBM] [security=none|wep|wpa|wpa2|sae|eap] [passphrase=HEX]
        [hidden] [answer=...]     puts it on the air, or in the place of one; answers: see air.Radio
  off BSSID                       takes it off the air
  answer BSSID lets-in|refuses|full|silent|no-address|refuses-eap|unknown-ca
  save ssid=HEX [security=...] [passphrase=HEX] [autoconnect] [hidden]
                                  a profile on disk; one of the same name and security is replaced
  forget ssid=HEX                 its profiles go
  wired_profile NAME [autoconnect] [priority=N]
                                  a profile on disk for a cable
  cable in|out                    a wired device appears with the first
  adapter out|in                  the Wi-Fi interface leaves the machine, and comes back as another object
  lose                            the link breaks, and who manages the network lets what is saved connect
  reconnect                       leaves the network, and begins to join it again
  hurry                           connections and scans of a channel take a millisecond or two from then on, and
                                  a connection has as long as this process may have to wait for a processor
  notes quietly                   what it notes of a connection in its profile, it announces to nobody from then on
  scan                            lets the supplicant scan everything, and waits for no end
  settle                          waits until no scan runs
  answers nm|supplicant normally|late MS|error|nonsense|never|death [METHOD]
                                  how it answers calls from then on; to one method alone
  crowd N                         puts as many radios on the air
  property nm|supplicant PATH INTERFACE NAME VALUE
                                  gives a property a value, of whatever type, and tells of it
  lack nm|supplicant PATH INTERFACE NAME
                                  takes a property away, without a word
  active                          answers the BSSID that the machine is connected to, or "none"
  calls                           answers how often each method was called since it was asked last
"""

import sys
import traceback

import air
import manager
import supplicant
from device import DEVICE_DISCONNECTED, SSID_NOT_FOUND, SUPPLICANT_DISCONNECT
from gi.repository import GLib
from kernel import Kernel
from profiles import SECURITY_GROUP, WIRELESS_GROUP, security_of
from wired import WiredDevice
from wireless import WirelessDevice

KEY_MANAGEMENT = {"wep": "none", "wpa": "wpa-psk", "wpa2": "wpa-psk", "sae": "sae", "eap": "wpa-eap"}


def options_of(words):
    return dict((word.split("=", 1) + [""])[:2] for word in words)


def text_of(options, name):
    return bytes.fromhex(options.get(name, ""))


class Room:
    def __init__(self):
        self.air = air.Air()
        self.supplicant, self.link = supplicant.create(self.air)
        self.manager = manager.create(Kernel())
        self.nm = self.manager.service
        self.add_adapter()
        self.wired = None

    def service(self, name):
        return {"nm": self.nm, "supplicant": self.supplicant}[name]

    def start(self, name):
        if name == "nm":
            self.link.leave()
            self.manager.reset()
        self.service(name).start()
        if name == "nm" and self.wired is not None:
            self.wired.plug(self.wired.get("Carrier"))
        if self.supplicant.is_running():
            if name == "supplicant":
                self.wireless.on_supplicant(True)
            self.link.scan([], [])
            while self.link.scan_timer:
                GLib.MainContext.default().iteration(True)

    def stop(self, name):
        self.service(name).stop()
        if name == "supplicant":
            self.link.reset()
            self.wireless.on_supplicant(False)

    def radio(self, bssid, *words):
        options = options_of(words)
        self.air.put(air.Radio(
            bssid=bssid,
            ssid=text_of(options, "ssid"),
            frequency=int(options.get("frequency", 2437)),
            signal=int(options.get("signal", -40)),
            security=options.get("security", "none"),
            passphrase=text_of(options, "passphrase").decode(errors="replace"),
            hidden="hidden" in options,
            answer=options.get("answer", "lets-in"),
        ))

    def off(self, bssid):
        self.air.take(bssid)

    def answer(self, bssid, how):
        self.air.radios[bssid].answer = how

    def save(self, *words):
        options = options_of(words)
        security = options.get("security", "none")
        groups = {
            "connection": {"autoconnect": GLib.Variant("b", "autoconnect" in options)},
            WIRELESS_GROUP: {"ssid": GLib.Variant("ay", text_of(options, "ssid")),
                             "hidden": GLib.Variant("b", "hidden" in options)},
        }
        if security != "none":
            groups[SECURITY_GROUP] = {"key-mgmt": GLib.Variant("s", KEY_MANAGEMENT[security])}
            if "passphrase" in options:
                groups[SECURITY_GROUP]["psk"] = GLib.Variant("s", text_of(options, "passphrase").decode())
        for profile in list(self.manager.settings.profiles.values()):
            if profile.ssid() == text_of(options, "ssid") and security_of(profile.groups) == security:
                profile.replace(groups, 1)
                return
        self.manager.settings.create(groups, 0)

    def forget(self, *words):
        for profile in list(self.manager.settings.profiles.values()):
            if profile.ssid() == text_of(options_of(words), "ssid"):
                self.manager.settings.delete(profile)

    def wired_profile(self, name, *words):
        options = options_of(words)
        connection = {"id": GLib.Variant("s", name), "autoconnect": GLib.Variant("b", "autoconnect" in options),
                      "autoconnect-priority": GLib.Variant("i", int(options.get("priority", 0)))}
        self.manager.settings.create({"connection": connection, "802-3-ethernet": {}}, 0)

    def cable(self, where):
        if self.wired is None:
            self.wired = WiredDevice(self.manager, self.manager.next_number())
            self.manager.add_device(self.wired)
        self.wired.plug(where == "in")

    def adapter(self, where):
        if where == "out":
            self.manager.remove_device(self.wireless)
            self.wireless = None
            self.link.unplug()
        else:
            self.link.plug()
            self.add_adapter()

    def add_adapter(self):
        self.wireless = WirelessDevice(self.manager, self.manager.next_number(), self.link)
        self.manager.add_device(self.wireless)
        self.wireless.on_heard()

    def lose(self):
        self.wireless.fail(SSID_NOT_FOUND)

    def reconnect(self):
        profile = self.wireless.activation.profile
        self.wireless.end(SUPPLICANT_DISCONNECT, DEVICE_DISCONNECTED)
        self.manager.activate(profile, self.wireless, "/")

    @staticmethod
    def hurry():
        air.ASSOCIATION = air.KEY_EXCHANGE = air.LEASE = air.CHANNEL_SCAN = 1
        air.CONNECTION_LIMIT = 10_000

    def notes(self, _how):
        self.manager.settings.announces_notes = False

    def scan(self):
        self.link.scan([], [])

    def settle(self):
        while self.link.scan_timer:
            GLib.MainContext.default().iteration(True)

    def answers(self, name, how, *rest):
        if how == "late":
            how, rest = f"late {rest[0]}", rest[1:]
        self.service(name).answer(how, *rest)

    def crowd(self, count):
        for i in range(int(count)):
            self.air.put(air.Radio(bssid=f"06:00:00:00:{i // 256:02X}:{i % 256:02X}", ssid=f"Crowd {i}".encode(),
                                   frequency=(2412, 2437, 2462, 5180)[i % 4], signal=-50 - i % 40))

    def property(self, name, path, interface, member, *value):
        item = self.service(name).objects[path]
        variant = GLib.Variant.parse(None, " ".join(value), None, None)
        item.properties[interface][member] = variant
        item.tell(interface, {member: variant})

    def lack(self, name, path, interface, member):
        del self.service(name).objects[path].properties[interface][member]

    def active(self):
        is_up = self.wireless.state() == 100 and self.link.bss is not None
        return self.link.bss.radio.bssid if is_up else "none"

    def calls(self):
        counts = {}
        for service in (self.nm, self.supplicant):
            for method, count in service.counts.items():
                counts[method] = counts.get(method, 0) + count
            service.counts.clear()
        return " ".join(f"{method}={count}" for method, count in sorted(counts.items()))

    def obey(self, line):
        command, *words = line.split()
        try:
            said = getattr(self, command)(*words)
            self.nm.flush()
            self.supplicant.flush()
        except Exception:  # pylint: disable=broad-except
            traceback.print_exc()
            said = "failed"
        print("done" if said is None else said, flush=True)


def main():
    room = Room()

    def on_line(channel, condition):
        if not condition & GLib.IOCondition.IN:
            sys.exit(0)
        line = channel.readline()
        if not line:
            sys.exit(0)
        room.obey(line)
        return GLib.SOURCE_CONTINUE

    conditions = GLib.IOCondition.IN | GLib.IOCondition.HUP
    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, conditions, on_line)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()
