"""NetworkManager's device for Wi-Fi, and the access points that it lists."""

import air
import device
from gi.repository import GLib
from nm_interfaces import ACCESS_POINT, NAME, PATH, WIRELESS
from profiles import SECURITY_GROUP, WIRELESS_GROUP, security_of
from service import BusObject, Refusal

PRIVACY = 0x1
WPA_FLAGS = {"psk": 0x100 | 0x8 | 0x80, "sae": 0x400 | 0x8 | 0x80, "eap": 0x200 | 0x8 | 0x80}


def flags_of(radio):
    secured = {"wpa": ("psk", 0), "wpa2": (0, "psk"), "sae": (0, "sae"), "eap": (0, "eap")}
    wpa, rsn = secured.get(radio.security, (0, 0))
    return {
        "Flags": PRIVACY if radio.is_secured() else 0,
        "WpaFlags": WPA_FLAGS.get(wpa, 0),
        "RsnFlags": WPA_FLAGS.get(rsn, 0),
    }


class AccessPoint(BusObject):
    def __init__(self, service, number, bss):
        self.bss = bss
        values = {"HwAddress": bss.radio.bssid, "Ssid": bss.ssid, **self._properties()}
        super().__init__(service, f"{PATH}/AccessPoint/{number}", [ACCESS_POINT], values)

    def refresh(self):
        changed = {name: value for name, value in self._properties().items() if self.get(name) != value}
        if changed:
            self.set(**changed)

    def _properties(self):
        return {
            "Frequency": self.bss.radio.frequency,
            "Strength": max(0, min(100, 2 * (self.bss.radio.signal + 100))),
            "LastSeen": int(self.bss.heard_at),
            **flags_of(self.bss.radio),
        }


class WirelessDevice(device.Device):
    """Listens to the supplicant's link."""

    def __init__(self, manager, number, link):
        self.link = link
        self.points = {}
        self.limit = 0
        link.listener = self
        values = {
            "Udi": "/sys/devices/virtual/net/wlan0",
            "Interface": "wlan0",
            "IpInterface": "wlan0",
            "DeviceType": 2,
            "HwAddress": "02:00:00:00:00:01",
            "PermHwAddress": "02:00:00:00:00:01",
        }
        super().__init__(manager, number, [WIRELESS], values, "192.0.2")

    # What it hears.

    def on_heard(self):
        # A set of paths, for scans of hundreds of access points tell of each change at once.
        added = [bss for bss in self.link.heard.values() if bss.path not in self.points]
        known = {bss.path for bss in self.link.heard.values()}
        for path, point in list(self.points.items()):
            if path in known:
                point.refresh()
            else:
                self._remove_point(path)
        for bss in added:
            self.points[bss.path] = AccessPoint(self.service, self.manager.next_number(), bss)
        if added:
            self.set(AccessPoints=[point.path for point in self.points.values()])
        for bss in added:
            self._tell_of("AccessPointAdded", self.points[bss.path])
        self.set(LastScan=int(GLib.get_monotonic_time() / 1000))
        self.update_available()

    def _remove_point(self, path):
        point = self.points.pop(path)
        self.set(AccessPoints=[known.path for known in self.points.values()])
        self._tell_of("AccessPointRemoved", point)
        point.remove()

    def _tell_of(self, signal, point):
        self.emit(WIRELESS.name, signal, GLib.Variant("(o)", (point.path,)))

    def point_of(self, bss):
        return self.points[bss.path].path if bss is not None and bss.path in self.points else "/"

    def ssid_of_point(self, path):
        for point in self.points.values():
            if point.path == path:
                return point.bss.ssid
        return None

    def is_in_reach(self, profile):
        names = {point.bss.ssid for point in self.points.values()}
        is_hidden = profile.value(WIRELESS_GROUP, "hidden", False)
        return profile.kind() == WIRELESS_GROUP and (profile.ssid() in names or is_hidden)

    def update_available(self):
        available = [profile.path for profile in self.manager.settings.profiles.values() if self.is_in_reach(profile)]
        if available != self.get("AvailableConnections"):
            self.set(AvailableConnections=available)
        self.manager.look_for_autoconnect(air.AUTOCONNECT_OF_NEWS)

    def remove(self):
        self.forget_all()
        super().remove()

    def forget_all(self):
        for path in list(self.points):
            self._remove_point(path)

    def GetAccessPoints(self):
        return ([point.path for point in self.points.values() if point.bss.ssid],)

    def GetAllAccessPoints(self):
        return (self.get("AccessPoints"),)

    def RequestScan(self, options):
        if self.state() == device.UNAVAILABLE or device.PREPARE <= self.state() < device.ACTIVATED:
            raise Refusal(NAME + ".Device.NotAllowed", "Scanning not allowed while unavailable or activating")
        hidden = [profile.ssid() for profile in self.manager.settings.profiles.values()
                  if profile.value(WIRELESS_GROUP, "hidden", False)]
        self.link.scan([], [bytes(name) for name in options.get("ssids", [])] + hidden)

    def on_supplicant(self, is_there):
        if is_there:
            self.set_state(device.DISCONNECTED, device.SUPPLICANT_AVAILABLE)
            return
        if self.activation is not None:
            self.fail(device.SUPPLICANT_FAILED)
        self.stop_waiting()
        self.forget_all()
        self.set_state(device.UNAVAILABLE, device.SUPPLICANT_FAILED)

    # The way to a connection.

    def begin(self):
        profile = self.activation.profile
        self.mean(self._likely_point(profile))
        self.set_state(device.CONFIG)
        security = security_of(profile.groups)
        secret = profile.value(SECURITY_GROUP, "psk", "")
        if security != "none":
            self.set_state(device.NEED_AUTH)
            if security in ("wpa2", "wpa", "sae") and not secret:
                self.after(air.KEY_EXCHANGE, self.fail, device.NO_SECRETS)
                return
            self.set_state(device.PREPARE)
            self.set_state(device.CONFIG)
        self.link.connect({"ssid": profile.ssid(), "bssid": profile.bssid(), "security": security, "psk": secret})
        self.after(air.CONNECTION_LIMIT, self.fail, device.SSID_NOT_FOUND)

    def _likely_point(self, profile):
        """The one that was named, else any that the profile fits, whichever the supplicant will take."""
        named = self.activation.get("SpecificObject")
        if any(point.path == named for point in self.points.values()):
            return named
        for point in self.points.values():
            if point.bss.ssid == profile.ssid() and profile.bssid() in (None, point.bss.radio.bssid):
                return point.path
        return "/"

    def mean(self, point):
        self.set(ActiveAccessPoint=point)
        self.activation.set(SpecificObject=point)

    def on_association(self, bss):
        self.mean(self.point_of(bss))

    def on_completed(self, bss):
        if self.state() >= device.IP_CONFIG:
            self.stop_waiting()  # it has moved, or come back, and is connected as before
        elif bss.radio.answer == "no-address":
            self.set_state(device.IP_CONFIG)
            self.after(air.LEASE_LIMIT, self.fail, device.IP_CONFIG_UNAVAILABLE)
        else:
            self.configure(air.LEASE)

    def on_wrong_key(self):
        if self.state() == device.CONFIG:
            self.after(air.WRONG_KEY, self._ask_for_secrets)

    def _ask_for_secrets(self):
        self.set_state(device.NEED_AUTH, device.SUPPLICANT_DISCONNECT)
        self.after(air.LEASE, self.fail, device.NO_SECRETS)

    def on_lost(self):
        if self.state() >= device.IP_CONFIG:
            self.after(air.LINK_LIMIT, self.fail, device.SSID_NOT_FOUND)

    def note_connection(self, profile):
        profile.note_connection(self.link.bss.radio.bssid)

    def leave(self):
        self.link.leave()
        self.set(ActiveAccessPoint="/")
