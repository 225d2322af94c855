"""wpa_supplicant: what it heard, its scans, and its link to one radio."""

import time

import air
from gi.repository import GLib
from service import BusObject, Interface, Refusal, Service

NAME = "fi.w1.wpa_supplicant1"
ROOT = "/fi/w1/wpa_supplicant1"
INTERFACE_PATH = ROOT + "/Interfaces/0"
ROOT_INTERFACE = Interface(
    NAME,
    {"GetInterface": ("s", "o"), "CreateInterface": ("a{sv}", "o"), "RemoveInterface": ("o", "")},
    {
        "DebugLevel": ("s", "info"),
        "Interfaces": ("ao", []),
        "EapMethods": ("as", ["TLS", "PEAP"]),
        "Capabilities": ("as", ["ap", "pmf"]),
    },
)
LINK_INTERFACE = Interface(
    NAME + ".Interface",
    {
        "Scan": ("a{sv}", ""),
        "AbortScan": ("", ""),
        "SignalPoll": ("", "v"),
        "Roam": ("s", ""),
        "Disconnect": ("", ""),
        "Reassociate": ("", ""),
        "FlushBSS": ("u", ""),
    },
    {
        "Ifname": ("s", "wlan0"),
        "Driver": ("s", "nl80211"),
        "State": ("s", "inactive"),
        "Scanning": ("b", False),
        "ApScan": ("u", 1),
        "Country": ("s", "DE"),
        "CurrentBSS": ("o", "/"),
        "CurrentNetwork": ("o", "/"),
        "CurrentAuthMode": ("s", "INACTIVE"),
        "BSSs": ("ao", []),
        "Networks": ("ao", []),
        "DisconnectReason": ("i", 0),
        "AuthStatusCode": ("i", 0),
        "AssocStatusCode": ("i", 0),
        "FastReauth": ("b", True),
        "ScanInterval": ("i", 5),
    },
)
BSS_INTERFACE = Interface(
    NAME + ".BSS",
    {},
    {
        "SSID": ("ay", b""),
        "BSSID": ("ay", b""),
        "Privacy": ("b", False),
        "Mode": ("s", "infrastructure"),
        "Signal": ("n", 0),
        "Frequency": ("q", 0),
        "Rates": ("au", [54000000]),
        "WPA": ("a{sv}", {}),
        "RSN": ("a{sv}", {}),
        "WPS": ("a{sv}", {}),
        "IEs": ("ay", b""),
        "Age": ("u", 0),
    },
)
NETWORK_INTERFACE = Interface(NAME + ".Network", {}, {"Properties": ("a{sv}", {}), "Enabled": ("b", True)})
KEY_MANAGEMENT = {"wpa": "wpa-psk", "wpa2": "wpa-psk", "sae": "sae", "eap": "wpa-eap"}
SCANS_BEFORE_FORGOTTEN = 2
FRESH_SECONDS = 5


def bytes_of(bssid):
    return bytes.fromhex(bssid.replace(":", ""))


def cipher_suites(radio, is_rsn):
    if (radio.security == "wpa") == is_rsn or radio.security not in KEY_MANAGEMENT:
        return {}
    suites = {
        "KeyMgmt": GLib.Variant("as", [KEY_MANAGEMENT[radio.security]]),
        "Pairwise": GLib.Variant("as", ["ccmp"]),
        "Group": GLib.Variant("s", "ccmp"),
    }
    if is_rsn:
        suites["MgmtGroup"] = GLib.Variant("s", "")
    return suites


class Bss(BusObject):
    """A radio as it was heard last."""

    def __init__(self, service, number, radio, ssid):
        self.radio = radio
        self.ssid = ssid
        self.heard_at = time.monotonic()
        self.misses = 0
        values = {"BSSID": bytes_of(radio.bssid), **self._properties()}
        super().__init__(service, f"{INTERFACE_PATH}/BSSs/{number}", [BSS_INTERFACE], values)

    def hear(self, radio):
        self.radio = radio
        self.heard_at = time.monotonic()
        self.misses = 0
        changed = {name: value for name, value in self._properties().items()
                   if GLib.Variant(BSS_INTERFACE.properties[name][0], value)
                   != self.properties[BSS_INTERFACE.name][name]}
        self.set(**changed, Age=0)

    def is_fresh(self):
        return self.misses == 0 and time.monotonic() - self.heard_at < FRESH_SECONDS

    def _properties(self):
        return {
            "SSID": self.ssid,
            "Privacy": self.radio.is_secured(),
            "Signal": self.radio.signal,
            "Frequency": self.radio.frequency,
            "WPA": cipher_suites(self.radio, False),
            "RSN": cipher_suites(self.radio, True),
            "IEs": self.radio.information_elements(self.ssid),
        }


class Network(BusObject):
    """What the interface was told to connect to. Its radio may be named anew while it is connected."""

    def __init__(self, service, number, network):
        """network: as Link.connect() takes it"""
        self.network = network
        super().__init__(service, f"{INTERFACE_PATH}/Networks/{number}", [NETWORK_INTERFACE])

    def was_set(self, name, value):
        if name == "Properties" and "bssid" in value:
            self.network["bssid"] = value["bssid"].upper()


class Root(BusObject):
    def __init__(self, service, link):
        self.link = link
        super().__init__(service, ROOT, [ROOT_INTERFACE], {"Interfaces": [INTERFACE_PATH]})
        link.root = self

    def GetInterface(self, name):
        if name != self.link.get("Ifname") or not self.get("Interfaces"):
            raise Refusal(NAME + ".InterfaceUnknown", "wpa_supplicant knows nothing about this interface.")
        return (INTERFACE_PATH,)

    def CreateInterface(self, _options):
        raise Refusal(NAME + ".InterfaceExists", "wpa_supplicant already controls this interface.")

    def RemoveInterface(self, _path):
        raise Refusal(NAME + ".UnknownError", "not here")


class Link(BusObject):
    """The interface: scans, and goes where it is sent until it is told to leave. Tells its listener:
    on_heard(), when a scan has ended; on_association(bss), before the keys; on_completed(bss);
    on_wrong_key(); on_lost(), by no wish of anybody."""

    def __init__(self, service, the_air):
        self.air = the_air
        self.root = None
        self.listener = None
        self.heard = {}
        self.number = 0
        self.scan_timer = 0
        self.network = None
        self.configuration = None
        self.configuration_count = 0
        self.bss = None
        self.timer = 0
        the_air.listeners.append(self._on_air_changed)
        super().__init__(service, INTERFACE_PATH, [LINK_INTERFACE])

    # Scans.

    def Scan(self, options):
        if options.get("Type") not in ("active", "passive"):
            raise Refusal(NAME + ".InvalidArgs", "Did not receive correct message arguments.")
        channels = [frequency for frequency, _width in options.get("Channels", [])]
        names = [bytes(name) for name in options.get("SSIDs", [])]
        if not self.scan(channels, names):
            raise Refusal(NAME + ".Interface.ScanError", "Scan request rejected")

    def AbortScan(self):
        if not self.scan_timer:
            raise Refusal(NAME + ".UnknownError", "no scan in progress")
        GLib.source_remove(self.scan_timer)
        self.scan_timer = GLib.timeout_add(2, self._end_scan, None, None)

    def scan(self, frequencies, names):
        """Returns False while another scan runs."""
        if self.scan_timer:
            return False
        duration = air.CHANNEL_SCAN * len(frequencies) if frequencies else air.WHOLE_SCAN
        self.set(Scanning=True)
        self.scan_timer = GLib.timeout_add(duration, self._end_scan, frequencies, names)
        return True

    def _end_scan(self, frequencies, names):
        self.scan_timer = 0
        self.set(Scanning=False)
        if frequencies is not None:
            if self.network is not None:
                names = [*names, self.network["ssid"]]
            self._note(self.air.heard(frequencies, names), frequencies)
        self.emit(LINK_INTERFACE.name, "ScanDone", GLib.Variant("(b)", (frequencies is not None,)))
        self.listener.on_heard()
        return GLib.SOURCE_REMOVE

    def _note(self, found, frequencies):
        keys = set()
        for radio, ssid in found:
            key = (radio.bssid, ssid)
            keys.add(key)
            if key in self.heard:
                self.heard[key].hear(radio)
            else:
                self.heard[key] = Bss(self.service, self.number, radio, ssid)
                self.number += 1
                self._tell_of(self.heard[key], "BSSAdded")
        for key, bss in list(self.heard.items()):
            if key in keys or bss is self.bss or (frequencies and bss.get("Frequency") not in frequencies):
                continue
            bss.misses += 1
            if bss.misses >= SCANS_BEFORE_FORGOTTEN:
                self._forget(key)

    def _forget(self, key):
        bss = self.heard.pop(key)
        self._tell_of(bss, "BSSRemoved")
        bss.remove()

    def _tell_of(self, bss, signal):
        self.set(BSSs=[known.path for known in self.heard.values()])
        if signal == "BSSAdded":
            properties = bss.properties[BSS_INTERFACE.name]
            self.emit(LINK_INTERFACE.name, signal, GLib.Variant("(oa{sv})", (bss.path, properties)))
        else:
            self.emit(LINK_INTERFACE.name, signal, GLib.Variant("(o)", (bss.path,)))

    def FlushBSS(self, _age):
        for key, bss in list(self.heard.items()):
            if bss is not self.bss:
                self._forget(key)

    # The link.

    def SignalPoll(self):
        if self.bss is None or self.get("State") != "completed":
            raise Refusal(NAME + ".UnknownError", "Failed to read signal")
        radio = self.air.radios.get(self.bss.radio.bssid, self.bss.radio)
        return (GLib.Variant("a{sv}", {
            "rssi": GLib.Variant("i", radio.signal),
            "avg-rssi": GLib.Variant("i", radio.signal),
            "noise": GLib.Variant("i", -92),
            "linkspeed": GLib.Variant("i", 54),
            "frequency": GLib.Variant("u", radio.frequency),
            "width": GLib.Variant("s", "20 MHz (no HT)" if radio.frequency < 5000 else "80 MHz"),
        }),)

    def Roam(self, bssid):
        for (known, ssid), bss in self.heard.items():
            if self.network is not None and known.lower() == bssid.lower() and ssid == self.network["ssid"]:
                self._associate(bss)
                return
        raise Refusal(NAME + ".InvalidArgs", "Did not receive correct message arguments.")

    def Disconnect(self):
        self.leave()

    def Reassociate(self):
        if self.network is not None:
            self._seek()

    def connect(self, network):
        """network: ssid, bssid (or None), security and psk"""
        self.leave()
        self.network = network
        self.configuration = Network(self.service, self.configuration_count, network)
        self.configuration_count += 1
        self.set(CurrentNetwork=self.configuration.path)
        self._seek()

    def unplug(self):
        self.reset()
        self.remove()
        self.root.set(Interfaces=[])
        self.root.emit(NAME, "InterfaceRemoved", GLib.Variant("(o)", (self.path,)))

    def plug(self):
        self.service.add(self)
        self.root.set(Interfaces=[self.path])
        added = (self.path, self.properties[LINK_INTERFACE.name])
        self.root.emit(NAME, "InterfaceAdded", GLib.Variant("(oa{sv})", added))

    def reset(self):
        """As when the supplicant has gone: it knows nothing, and holds no link."""
        self.leave()
        if self.scan_timer:
            GLib.source_remove(self.scan_timer)
            self.scan_timer = 0
        self.FlushBSS(0)
        self.set(Scanning=False, State="inactive")

    def leave(self):
        self.network = None
        if self.configuration is not None:
            self.set(CurrentNetwork="/")
            self.configuration.remove()
            self.configuration = None
        self._clear_timer()
        if self.bss is not None:
            self.bss = None
            self.set(DisconnectReason=-3)
        if self.get("State") not in ("inactive", "disconnected"):
            self.set(State="disconnected", CurrentBSS="/")

    def fits(self, bss):
        network = self.network
        return (bss.ssid == network["ssid"] and bss.radio.security == network["security"]
                and network["bssid"] in (None, bss.radio.bssid.upper()))

    def _clear_timer(self):
        if self.timer:
            GLib.source_remove(self.timer)
            self.timer = 0

    def _after(self, milliseconds, step, *arguments):
        def run():
            self.timer = 0
            step(*arguments)
            return GLib.SOURCE_REMOVE

        self._clear_timer()
        self.timer = GLib.timeout_add(milliseconds, run)

    def _seek(self):
        """Takes what was just heard, else scans first."""
        candidates = [bss for bss in self.heard.values() if bss.is_fresh() and self.fits(bss)]
        if candidates:
            self._associate(max(candidates, key=lambda bss: bss.radio.signal))
            return
        self.set(State="scanning")
        self.scan([], [])
        self._after(air.WHOLE_SCAN + 5, self._seek)

    def _associate(self, bss):
        self.set(State="authenticating")
        self._after(air.ASSOCIATION, self._be_answered, bss)

    def _be_answered(self, bss):
        radio = self.air.radios.get(bss.radio.bssid)
        if radio is None or radio.answer == "silent":
            bss.misses = SCANS_BEFORE_FORGOTTEN  # so that it is scanned for
            self._retry()
        elif radio.answer in ("refuses", "full"):
            self.set(AuthStatusCode=1 if radio.answer == "refuses" else 17)
            self._retry()
        else:
            self.set(AuthStatusCode=0)
            self.set(State="associating", AssocStatusCode=0)
            self.set(State="associated", CurrentBSS=bss.path)
            self.bss = bss
            bss.radio = radio
            self.listener.on_association(bss)
            if radio.security == "eap":
                self._tell_of_eap(radio)
            if radio.is_secured():
                self.set(State="4way_handshake")
                is_right = radio.passphrase == self.network["psk"] or radio.security == "eap"
                self._after(air.KEY_EXCHANGE if is_right else air.WRONG_KEY, self._end_keys, is_right)
            else:
                self._after(1, self._end_keys, True)

    def _tell_of_eap(self, radio):
        steps = [("started", ""), ("proposed method", "TLS"), ("accept proposed method", "TLS")]
        if radio.answer == "unknown-ca":
            steps += [("remote certificate verification", "self-signed certificate in certificate chain"),
                      ("local TLS alert", "unknown CA"), ("completion", "failure")]
        else:
            steps.append(("remote certificate verification", "success"))
            steps.append(("completion", "failure" if radio.answer == "refuses-eap" else "success"))
        for step in steps:
            self.emit(LINK_INTERFACE.name, "EAP", GLib.Variant("(ss)", step))

    def _end_keys(self, is_right):
        bss = self.bss
        if bss.radio.answer in ("refuses-eap", "unknown-ca"):
            self._break(23)
            self._retry()
        elif not is_right:
            self._break(15)
            self.listener.on_wrong_key()
            self._retry()
        else:
            self.set(State="completed")
            self.listener.on_completed(bss)

    def _break(self, reason):
        self.bss = None
        self.set(State="disconnected", CurrentBSS="/", DisconnectReason=reason)

    def _retry(self):
        if self.network is None:
            return
        if self.bss is not None and self.get("State") == "authenticating":
            if self.fits(self.bss):
                self._associate(self.bss)  # a roam that was refused leads back
                return
            self.bss = None
            self.set(State="disconnected", CurrentBSS="/")
        self.set(State="scanning")
        self._after(air.SUPPLICANT_RETRY, self._seek)

    def _on_air_changed(self, bssid):
        if self.bss is not None and self.bss.radio.bssid == bssid and not self._is_on_air(self.bss):
            GLib.timeout_add(air.BEACON_LOSS, self._lose, self.bss)

    def _is_on_air(self, bss):
        radio = self.air.radios.get(bss.radio.bssid)
        return radio is not None and (radio.ssid, radio.security) == (bss.ssid, bss.radio.security)

    def _lose(self, bss):
        if self.bss is bss and not self._is_on_air(bss):
            self._break(-4)
            self.listener.on_lost()
            self._retry()
        return GLib.SOURCE_REMOVE


def create(the_air):
    service = Service(NAME)
    link = Link(service, the_air)
    Root(service, link)
    return service, link
