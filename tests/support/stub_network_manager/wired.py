"""NetworkManager's device for a cable."""

import air
import device
from nm_interfaces import WIRED


class WiredDevice(device.Device):
    def __init__(self, manager, number):
        values = {
            "Udi": "/sys/devices/virtual/net/eth0",
            "Interface": "eth0",
            "IpInterface": "eth0",
            "DeviceType": 1,
            "State": device.UNAVAILABLE,
            "HwAddress": "02:00:00:00:00:02",
            "PermHwAddress": "02:00:00:00:00:02",
        }
        super().__init__(manager, number, [WIRED], values, "192.0.2")

    def plug(self, is_in):
        self.set(Carrier=is_in)
        if not is_in and self.activation is not None:
            self.end(device.CARRIER, device.DEVICE_DISCONNECTED)
        self.set_state(device.DISCONNECTED if is_in else device.UNAVAILABLE, device.CARRIER)
        if is_in:
            self.manager.look_for_autoconnect(air.AUTOCONNECT_OF_NEWS)

    def is_in_reach(self, profile):
        return profile.kind() == "802-3-ethernet" and self.get("Carrier")

    def Disconnect(self):
        if self.activation is not None:
            self.activation.profile.is_blocked = True
        super().Disconnect()

    def begin(self):
        self.set_state(device.CONFIG)
        self.configure(air.LEASE)

    def leave(self):
        """A cable stays where it is."""
