"""NetworkManager: its devices, what is active on them, and what connects by itself."""

import air
import device
from device import Activation
from gi.repository import GLib
from nm_interfaces import MANAGER, NAME, PATH
from profiles import UNSAVED_FLAG, VOLATILE_FLAG, WIRELESS_GROUP, Settings, groups_of
from service import BusObject, Refusal, Service
from wireless import WirelessDevice

CONNECTED_GLOBAL, CONNECTING, NOT_CONNECTED = 70, 40, 20


class Manager(BusObject):
    raw_methods = frozenset({"AddAndActivateConnection", "AddAndActivateConnection2"})

    def __init__(self, service, kernel):
        self.kernel = kernel
        self.devices = []
        self.activations = []
        self.number = 0
        self.autoconnect_timer = 0
        super().__init__(service, PATH, [MANAGER])
        self.settings = Settings(service)
        self.settings.listener = self

    def next_number(self):
        self.number += 1
        return self.number

    def add_device(self, new):
        self.devices.append(new)
        self._tell_of_devices("DeviceAdded", new)

    def remove_device(self, old):
        if old.activation is not None:
            old.end(36, device.DEVICE_DISCONNECTED)
        self.devices.remove(old)
        self._tell_of_devices("DeviceRemoved", old)
        old.remove()

    def _tell_of_devices(self, signal, which):
        paths = [known.path for known in self.devices]
        self.set(Devices=paths, AllDevices=paths)
        self.emit(MANAGER.name, signal, GLib.Variant("(o)", (which.path,)))

    def wireless(self):
        return next((known for known in self.devices if isinstance(known, WirelessDevice)), None)

    def reset(self):
        """As when it starts: nothing is active, and what was only in memory has gone."""
        for known in self.devices:
            if known.activation is not None:
                known.end(device.NO_REASON, device.DEVICE_DISCONNECTED)
            known.allow_autoconnect()
        self.settings.forget_unsaved()
        for profile in self.settings.profiles.values():
            profile.allow_autoconnect()

    # What it is told.

    def on_profile_changed(self, _profile):
        if self.wireless() is not None:
            self.wireless().update_available()

    def on_profile_removed(self, profile):
        for known in self.devices:
            if known.activation is not None and known.activation.profile is profile:
                known.end(device.CONNECTION_REMOVED, device.DEVICE_DISCONNECTED)
        if self.wireless() is not None:
            self.wireless().update_available()

    def forget(self, activation):
        self.activations.remove(activation)
        self._tell_of_activations()
        activation.remove()

    def _tell_of_activations(self):
        self.set(ActiveConnections=[known.path for known in self.activations])
        self.update_state()

    def update_state(self):
        up = [known for known in self.activations if known.get("State") == device.UP]
        state = CONNECTED_GLOBAL if up else CONNECTING if self.activations else NOT_CONNECTED
        values = {
            "PrimaryConnection": up[0].path if up else "/",
            "PrimaryConnectionType": up[0].profile.kind() if up else "",
        }
        changed = {name: value for name, value in values.items() if self.get(name) != value}
        if changed:
            self.set(**changed)
        if state != self.get("State"):
            self.set(State=state)
            self.emit(MANAGER.name, "StateChanged", GLib.Variant("(u)", (state,)))

    # What connects by itself.

    def look_for_autoconnect_after_failure(self, _device):
        self.look_for_autoconnect(air.AUTOCONNECT)

    def look_for_autoconnect(self, milliseconds):
        if not self.autoconnect_timer:
            self.autoconnect_timer = GLib.timeout_add(milliseconds, self._autoconnect)

    def _autoconnect(self):
        self.autoconnect_timer = 0
        for known in self.devices:
            if known.state() != device.DISCONNECTED or not known.get("Autoconnect"):
                continue
            candidates = [profile for profile in self.settings.profiles.values()
                          if profile.wants_autoconnect() and known.is_in_reach(profile)]
            if candidates:
                best = max(candidates, key=lambda profile: (profile.value("connection", "autoconnect-priority", 0),
                                                            profile.value("connection", "timestamp", 0)))
                self.activate(best, known, "/")
        return GLib.SOURCE_REMOVE

    # What others ask of it.

    def _device_at(self, path, profile):
        for known in self.devices:
            if known.path == path or (path == "/" and known.is_in_reach(profile)):
                if known.state() == device.UNAVAILABLE:
                    break
                return known
        raise Refusal(NAME + ".UnknownDevice", "Device not found or not available")

    def activate(self, profile, which, specific):
        activation = Activation(self, self.next_number(), profile, which, specific)
        self.activations.append(activation)
        self._tell_of_activations()
        activation.set_state(device.ACTIVATING)
        which.activate(activation)
        return activation

    def ActivateConnection(self, connection, device_path, specific):
        profile = self.settings.profiles.get(connection)
        if profile is None:
            raise Refusal(NAME + ".UnknownConnection", "Connection could not be found.")
        which = self._device_at(device_path, profile)
        profile.is_blocked = False
        return (self.activate(profile, which, specific).path,)

    def AddAndActivateConnection(self, parameters):
        return self._add_and_activate(parameters, "disk")

    def AddAndActivateConnection2(self, parameters):
        options = parameters.get_child_value(3).unpack()
        return (*self._add_and_activate(parameters, options.get("persist", "disk")), {})

    def _add_and_activate(self, parameters, persist):
        groups = groups_of(parameters.get_child_value(0))
        device_path, specific = (parameters.get_child_value(i).get_string() for i in (1, 2))
        which = next((known for known in self.devices if known.path == device_path), None)
        if which is None or which.state() == device.UNAVAILABLE:
            raise Refusal(NAME + ".UnknownDevice", "Device not found or not available")
        if isinstance(which, WirelessDevice):
            wireless = groups.setdefault(WIRELESS_GROUP, {})
            ssid = which.ssid_of_point(specific)
            if ssid is not None:
                wireless.setdefault("ssid", GLib.Variant("ay", ssid))
        flags = {"disk": 0, "memory": UNSAVED_FLAG, "volatile": UNSAVED_FLAG | VOLATILE_FLAG}[persist]
        profile = self.settings.create(groups, flags)
        return profile.path, self.activate(profile, which, specific).path

    def DeactivateConnection(self, path):
        for activation in self.activations:
            if activation.path == path:
                activation.profile.is_blocked = True
                activation.device.end(device.USER_REQUESTED, device.USER_DISCONNECTED)
                return
        raise Refusal(NAME + ".ConnectionNotActive", "The connection was not active.")

    def GetDevices(self):
        return (self.get("Devices"),)

    def GetAllDevices(self):
        return (self.get("AllDevices"),)

    def GetDeviceByIpIface(self, name):
        for known in self.devices:
            if known.get("IpInterface") == name:
                return (known.path,)
        raise Refusal(NAME + ".UnknownDevice", "No device found for the requested iface.")

    def GetPermissions(self):
        return ({},)

    def CheckConnectivity(self):
        return (self.get("Connectivity"),)

    def Sleep(self, sleep):
        for known in self.devices:
            if sleep and known.activation is not None:
                known.end(37, device.DEVICE_DISCONNECTED)
            known.set_state(10 if sleep else device.DISCONNECTED, 37 if sleep else 0)


def create(kernel):
    service = Service(NAME, "/org/freedesktop")
    return Manager(service, kernel)
