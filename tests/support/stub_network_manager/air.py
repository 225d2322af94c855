"""The air around the machine: the radios on it, and how long things take there."""

from dataclasses import dataclass

# Milliseconds. In a living room these are seconds; the order of what happens is the same.
WHOLE_SCAN = 60
CHANNEL_SCAN = 15
ASSOCIATION = 20
KEY_EXCHANGE = 15
WRONG_KEY = 80
BEACON_LOSS = 60
SUPPLICANT_RETRY = 60
CONNECTION_LIMIT = 500
LINK_LIMIT = 150
LEASE = 20
LEASE_LIMIT = 200
AUTOCONNECT = 500
AUTOCONNECT_OF_NEWS = 20


@dataclass
class Radio:
    """A radio of an access point."""

    bssid: str
    ssid: bytes
    frequency: int = 2437
    signal: int = -40
    security: str = "wpa2"  # or "none", "wep", "wpa", "sae", "eap"
    passphrase: str = ""
    hidden: bool = False
    # "lets-in", "refuses" (status 1), "full" (status 17), "silent", "no-address", "refuses-eap", "unknown-ca"
    answer: str = "lets-in"

    def is_secured(self):
        return self.security != "none"

    def information_elements(self, ssid):
        """What its beacons carry: name, rates, and the generation of its standard."""
        elements = bytes([0, len(ssid)]) + ssid
        elements += bytes([1, 4, 0x82, 0x84, 0x8B, 0x96])
        elements += bytes([45, 26]) + bytes(26)
        if self.frequency < 5000:
            elements += bytes([61, 22, 6]) + bytes(21)
        else:
            elements += bytes([61, 22, 36, 0x05]) + bytes(20)
            elements += bytes([191, 12]) + bytes(12)
            elements += bytes([192, 5, 1, 42, 0, 0, 0])
        return elements


class Air:
    """All radios, by BSSID."""

    def __init__(self):
        self.radios = {}
        self.listeners = []

    def put(self, radio):
        """A new radio, or one in its place: what it answered before, it answers again."""
        before = self.radios.get(radio.bssid)
        if before is not None and radio.answer == "lets-in":
            radio.answer = before.answer
        self.radios[radio.bssid] = radio
        self._tell(radio.bssid)

    def take(self, bssid):
        self.radios.pop(bssid, None)
        self._tell(bssid)

    def heard(self, frequencies, names):
        """What a scan hears, each radio with the name that it shows: hidden ones answer to theirs.
        frequencies: empty for all"""
        found = []
        for radio in self.radios.values():
            if frequencies and radio.frequency not in frequencies:
                continue
            found.append((radio, b"" if radio.hidden else radio.ssid))
            if radio.hidden and radio.ssid in names:
                found.append((radio, radio.ssid))
        return found

    def _tell(self, bssid):
        for listener in self.listeners:
            listener(bssid)
