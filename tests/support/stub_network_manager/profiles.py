"""NetworkManager's connection profiles."""

import time
import uuid

from gi.repository import GLib
from nm_interfaces import CONNECTION, NAME, PATH, SETTINGS
from service import BusObject, Refusal

TO_DISK = 0x1
IN_MEMORY = 0x2 | 0x4 | 0x8
VOLATILE = 0x10
UNSAVED_FLAG = 1
VOLATILE_FLAG = 4
SECRETS = ("psk", "wep-key0", "wep-key1", "wep-key2", "wep-key3", "password", "private-key-password", "leap-password")
WIRELESS_GROUP = "802-11-wireless"
SECURITY_GROUP = "802-11-wireless-security"


def groups_of(variant):
    """The groups of a{sa{sv}}, with their values' types."""
    groups = {}
    for i in range(variant.n_children()):
        group = variant.get_child_value(i)
        values = group.get_child_value(1)
        groups[group.get_child_value(0).get_string()] = {
            values.get_child_value(k).get_child_value(0).get_string():
                values.get_child_value(k).get_child_value(1).get_variant()
            for k in range(values.n_children())
        }
    return groups


def security_of(groups):
    """The word for it that radios have."""
    security = groups.get(SECURITY_GROUP)
    if security is None:
        return "none"
    key_management = security["key-mgmt"].unpack() if "key-mgmt" in security else "none"
    return {"none": "wep", "wpa-psk": "wpa2", "sae": "sae", "wpa-eap": "eap"}.get(key_management, key_management)


class Profile(BusObject):
    raw_methods = frozenset({"Update", "UpdateUnsaved", "Update2"})

    def __init__(self, settings, number, groups, flags, filename):
        self.settings = settings
        self.groups = groups
        self.is_blocked = False  # from connecting by itself
        self.failures = 0
        values = {"Unsaved": bool(flags & UNSAVED_FLAG), "Flags": flags, "Filename": filename}
        super().__init__(settings.service, f"{PATH}/Settings/{number}", [CONNECTION], values)

    def value(self, group, key, default=None):
        variant = self.groups.get(group, {}).get(key)
        return default if variant is None else variant.unpack()

    def identity(self):
        return self.value("connection", "uuid")

    def name(self):
        return self.value("connection", "id")

    def kind(self):
        return self.value("connection", "type")

    def ssid(self):
        return bytes(self.value(WIRELESS_GROUP, "ssid", b""))

    def bssid(self):
        """None when it is tied to no radio."""
        value = self.value(WIRELESS_GROUP, "bssid")
        return value if value is None else ":".join(f"{byte:02X}" for byte in value)

    def wants_autoconnect(self):
        return self.value("connection", "autoconnect", True) and not self.is_blocked

    def allow_autoconnect(self):
        self.is_blocked = False
        self.failures = 0

    def note_connection(self, bssid):
        self.failures = 0
        self.groups["connection"]["timestamp"] = GLib.Variant("t", int(time.time()))
        if bssid is not None:
            seen = [*self.value(WIRELESS_GROUP, "seen-bssids", []), bssid]
            self.groups[WIRELESS_GROUP]["seen-bssids"] = GLib.Variant("as", sorted(set(seen)))
        if self.settings.announces_notes:
            self.emit(CONNECTION.name, "Updated")

    def replace(self, groups, flags):
        had_secrets = {group: {key: value for key, value in values.items() if key in SECRETS}
                       for group, values in self.groups.items()}
        if not any(key in SECRETS for values in groups.values() for key in values):
            for group, secrets in had_secrets.items():
                if group in groups:
                    groups[group].update(secrets)
        for key in ("id", "uuid", "type"):
            groups.setdefault("connection", {}).setdefault(key, self.groups["connection"][key])
        self.groups = groups
        self.allow_autoconnect()
        if flags & TO_DISK:
            self.set(Unsaved=False, Flags=0, Filename=self.settings.file_of(self.name()))
        elif flags & (IN_MEMORY | VOLATILE):
            self.set(Unsaved=True, Flags=UNSAVED_FLAG | (VOLATILE_FLAG if flags & VOLATILE else 0))
        self.emit(CONNECTION.name, "Updated")
        self.settings.listener.on_profile_changed(self)

    def Update(self, parameters):
        self.replace(groups_of(parameters.get_child_value(0)), TO_DISK)

    def UpdateUnsaved(self, parameters):
        self.replace(groups_of(parameters.get_child_value(0)), 0x2)

    def Update2(self, parameters):
        groups = groups_of(parameters.get_child_value(0))
        flags = parameters.get_child_value(1).get_uint32()
        self.replace(groups or dict(self.groups), flags)
        return ({},)

    def Save(self):
        self.replace(dict(self.groups), TO_DISK)

    def Delete(self):
        self.settings.delete(self)

    def GetSettings(self):
        return ({group: {key: value for key, value in values.items() if key not in SECRETS}
                 for group, values in self.groups.items()},)

    def GetSecrets(self, group):
        values = self.groups.get(group)
        if values is None:
            raise Refusal(NAME + ".Settings.Connection.SettingNotFound", "No such setting")
        return ({name: {key: value for key, value in values.items() if key in SECRETS and name == group}
                 for name, values in self.groups.items()},)

    def ClearSecrets(self):
        for values in self.groups.values():
            for key in SECRETS:
                values.pop(key, None)
        self.emit(CONNECTION.name, "Updated")


class Settings(BusObject):
    """All profiles, by path."""

    raw_methods = frozenset({"AddConnection", "AddConnectionUnsaved", "AddConnection2"})

    def __init__(self, service):
        self.listener = None
        self.profiles = {}
        self.number = 0
        self.announces_notes = True
        super().__init__(service, PATH + "/Settings", [SETTINGS])

    @staticmethod
    def file_of(name):
        return f"/etc/NetworkManager/system-connections/{name}.nmconnection"

    def create(self, groups, flags):
        """flags: those of a profile on the bus"""
        connection = groups.setdefault("connection", {})
        connection.setdefault("uuid", GLib.Variant("s", str(uuid.uuid4())))
        if "type" not in connection:
            connection["type"] = GLib.Variant("s", WIRELESS_GROUP if WIRELESS_GROUP in groups else "802-3-ethernet")
        if "id" not in connection:
            ssid = groups.get(WIRELESS_GROUP, {}).get("ssid")
            name = bytes(ssid.unpack()).decode(errors="replace") if ssid is not None else "Wired"
            connection["id"] = GLib.Variant("s", name)
        if connection["type"].unpack() == WIRELESS_GROUP and "ssid" not in groups.get(WIRELESS_GROUP, {}):
            raise Refusal(NAME + ".Settings.Connection.MissingProperty", "802-11-wireless.ssid: property is missing")
        for profile in self.profiles.values():
            if profile.identity() == connection["uuid"].unpack():
                raise Refusal(NAME + ".Settings.UuidExists", "a connection with this UUID already exists")
        self.number += 1
        filename = "" if flags else self.file_of(connection["id"].unpack())
        profile = Profile(self, self.number, groups, flags, filename)
        self.profiles[profile.path] = profile
        self._tell("NewConnection", profile)
        self.listener.on_profile_changed(profile)
        return profile

    def delete(self, profile):
        if self.profiles.pop(profile.path, None) is None:
            return
        self.listener.on_profile_removed(profile)
        profile.emit(CONNECTION.name, "Removed")
        self._tell("ConnectionRemoved", profile)
        profile.remove()

    def _tell(self, signal, profile):
        self.set(Connections=list(self.profiles))
        self.emit(SETTINGS.name, signal, GLib.Variant("(o)", (profile.path,)))

    def forget_unsaved(self):
        """As when the service starts: what is only in memory has gone."""
        for profile in list(self.profiles.values()):
            if profile.get("Flags") & UNSAVED_FLAG:
                self.delete(profile)

    def ListConnections(self):
        return (list(self.profiles),)

    def GetConnectionByUuid(self, identity):
        for profile in self.profiles.values():
            if profile.identity() == identity:
                return (profile.path,)
        raise Refusal(NAME + ".Settings.InvalidConnection", "No connection with the UUID was found.")

    def AddConnection(self, parameters):
        return (self.create(groups_of(parameters.get_child_value(0)), 0).path,)

    def AddConnectionUnsaved(self, parameters):
        return (self.create(groups_of(parameters.get_child_value(0)), UNSAVED_FLAG).path,)

    def AddConnection2(self, parameters):
        flags = UNSAVED_FLAG if parameters.get_child_value(1).get_uint32() & IN_MEMORY else 0
        return self.create(groups_of(parameters.get_child_value(0)), flags).path, {}

    def ReloadConnections(self):
        return (True,)
