"""NetworkManager's devices, and what activates on them."""

import air
from gi.repository import GLib
from nm_interfaces import ACTIVE, DEVICE, DHCP4_CONFIG, IP4_CONFIG, NAME, PATH
from profiles import VOLATILE_FLAG
from service import BusObject, Refusal

UNAVAILABLE, DISCONNECTED, PREPARE, CONFIG, NEED_AUTH = 20, 30, 40, 50, 60
IP_CONFIG, IP_CHECK, SECONDARIES, ACTIVATED, DEACTIVATING, FAILED = 70, 80, 90, 100, 110, 120

NO_REASON = 0
IP_CONFIG_UNAVAILABLE = 5
NO_SECRETS = 7
SUPPLICANT_DISCONNECT = 8
SUPPLICANT_FAILED = 10
CONNECTION_REMOVED = 38
USER_REQUESTED = 39
CARRIER = 40
SUPPLICANT_AVAILABLE = 42
SSID_NOT_FOUND = 53
NEW_ACTIVATION = 60

ACTIVATING, UP, GOING, GONE = 1, 2, 3, 4
USER_DISCONNECTED, DEVICE_DISCONNECTED = 2, 3

TRIES = 4  # of a profile by itself, before it is left alone


class Activation(BusObject):
    """A profile that is active on a device, or on its way there or back."""

    def __init__(self, manager, number, profile, device, specific):
        self.profile = profile
        self.device = device
        values = {
            "Connection": profile.path,
            "SpecificObject": specific,
            "Id": profile.name(),
            "Uuid": profile.identity(),
            "Type": profile.kind(),
            "Devices": [device.path],
        }
        super().__init__(manager.service, f"{PATH}/ActiveConnection/{number}", [ACTIVE], values)

    def set_state(self, state, reason=0):
        self.set(State=state)
        self.emit(ACTIVE.name, "StateChanged", GLib.Variant("(uu)", (state, reason)))


class Device(BusObject):
    """A device on which one profile at a time can be active. What it needs before it has an address is a
    subclass's: begin(), which calls on with configure() or fail(); leave()."""

    def __init__(self, manager, number, interfaces, values, network):
        """network: the first three numbers of its addresses"""
        self.manager = manager
        self.network = network
        self.activation = None
        self.timer = 0
        self.configurations = []
        self.is_held = False  # from connecting by itself, by somebody's wish
        self.was_sent_away = False  # and so stays away until it is to connect again
        super().__init__(manager.service, f"{PATH}/Devices/{number}", [DEVICE, *interfaces], values)

    # Its states.

    def state(self):
        return self.get("State")

    def set_state(self, state, reason=NO_REASON):
        old = self.state()
        self.set(State=state, StateReason=(state, reason))
        self.emit(DEVICE.name, "StateChanged", GLib.Variant("(uuu)", (state, old, reason)))
        self.manager.update_state()

    def after(self, milliseconds, step, *arguments):
        """The next step of what is under way, in place of any other."""
        def run():
            self.timer = 0
            step(*arguments)
            return GLib.SOURCE_REMOVE

        self.stop_waiting()
        self.timer = GLib.timeout_add(milliseconds, run)

    def stop_waiting(self):
        if self.timer:
            GLib.source_remove(self.timer)
            self.timer = 0

    def activate(self, activation):
        if self.activation is not None:
            self.end(NEW_ACTIVATION, DEVICE_DISCONNECTED)
        elif self.state() == FAILED:
            self.set_state(DISCONNECTED)
        self.activation = activation
        self.was_sent_away = False
        self._tell_of_autoconnect()
        self.set(ActiveConnection=activation.path)
        self.set_state(PREPARE)
        self.after(3, self.begin)

    def configure(self, lease_milliseconds):
        self.set_state(IP_CONFIG)
        self.after(lease_milliseconds, self.have_address)

    def have_address(self):
        self._add_configurations()
        for state in (IP_CHECK, SECONDARIES, ACTIVATED):
            self.set_state(state)
        activation = self.activation
        activation.set(Default=True)
        activation.set_state(UP)
        self.note_connection(activation.profile)
        self.manager.update_state()

    def note_connection(self, profile):
        profile.note_connection(None)

    def fail(self, reason):
        activation = self.activation
        self.set_state(FAILED, reason)
        activation.profile.failures += 1
        if reason == NO_SECRETS or activation.profile.failures >= TRIES:
            activation.profile.is_blocked = True
        self._let_go(activation, DEVICE_DISCONNECTED)
        self.after(5, self.set_state, DISCONNECTED)
        self.manager.look_for_autoconnect_after_failure(self)

    def end(self, device_reason, active_reason):
        """Leaves what is active, or on its way."""
        activation = self.activation
        activation.set_state(GOING, active_reason)
        self.set_state(DEACTIVATING, device_reason)
        self._let_go(activation, active_reason)
        self.set_state(DISCONNECTED, device_reason)

    def _let_go(self, activation, reason):
        self.stop_waiting()
        self.leave()
        self._remove_configurations()
        self.activation = None
        self.set(ActiveConnection="/")
        activation.set_state(GONE, reason)
        self.manager.forget(activation)
        if activation.profile.get("Flags") & VOLATILE_FLAG:
            self.manager.settings.delete(activation.profile)

    # Whether it connects by itself.

    def was_set(self, name, value):
        if name == "Autoconnect":
            self.is_held = not value
            self.was_sent_away = self.was_sent_away and not value
            self._tell_of_autoconnect()
            self.manager.look_for_autoconnect(air.AUTOCONNECT_OF_NEWS)

    def allow_autoconnect(self):
        self.is_held = self.was_sent_away = False
        self._tell_of_autoconnect()

    def _tell_of_autoconnect(self):
        is_allowed = not self.is_held and not self.was_sent_away
        if is_allowed != self.get("Autoconnect"):
            self.set(Autoconnect=is_allowed)

    # Its addresses.

    def _add_configurations(self):
        number = self.manager.next_number()
        address, gateway = f"{self.network}.10", f"{self.network}.1"
        data = {"address": GLib.Variant("s", address), "prefix": GLib.Variant("u", 24)}
        ip4 = BusObject(self.service, f"{PATH}/IP4Config/{number}", [IP4_CONFIG], {
            "AddressData": [data],
            "Gateway": gateway,
            "NameserverData": [{"address": GLib.Variant("s", gateway)}],
            "RouteData": [{"dest": GLib.Variant("s", "0.0.0.0"), "prefix": GLib.Variant("u", 0),
                           "next-hop": GLib.Variant("s", gateway), "metric": GLib.Variant("u", 600)}],
        })
        options = {"dhcp_lease_time": "3600", "ip_address": address, "routers": gateway,
                   "dhcp_server_identifier": gateway, "domain_name_servers": gateway,
                   "expiry": str(int(GLib.get_real_time() / 1e6) + 3600)}
        dhcp4 = BusObject(self.service, f"{PATH}/DHCP4Config/{number}", [DHCP4_CONFIG],
                          {"Options": {name: GLib.Variant("s", value) for name, value in options.items()}})
        self.configurations = [ip4, dhcp4]
        for item in (self, self.activation):
            item.set(Ip4Config=ip4.path, Dhcp4Config=dhcp4.path)
        self.manager.kernel.add_address(self.get("Interface"), address, gateway)

    def _remove_configurations(self):
        if not self.configurations:
            return
        self.manager.kernel.remove_addresses(self.get("Interface"))
        for item in (self, self.activation):
            item.set(Ip4Config="/", Dhcp4Config="/")
        for configuration in self.configurations:
            configuration.remove()
        self.configurations = []

    # What others ask of it.

    def Disconnect(self):
        if self.activation is None:
            raise Refusal(NAME + ".Device.NotActive", "This device is not active")
        self.was_sent_away = True
        self._tell_of_autoconnect()
        self.end(USER_REQUESTED, USER_DISCONNECTED)

    def Delete(self):
        raise Refusal(NAME + ".Device.NotSoftware", "This device is not a software device")

    def Reapply(self, _settings, _version, _flags):
        pass

    def GetAppliedConnection(self, _flags):
        if self.activation is None:
            raise Refusal(NAME + ".Device.NotActive", "Device is not activated")
        return (*self.activation.profile.GetSettings(), 1)
