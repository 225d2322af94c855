"""The interfaces of NetworkManager's objects, as far as its clients' library reads them."""

from service import Interface

NAME = "org.freedesktop.NetworkManager"
PATH = "/org/freedesktop/NetworkManager"

MANAGER = Interface(
    NAME,
    {
        "GetDevices": ("", "ao"),
        "GetAllDevices": ("", "ao"),
        "GetDeviceByIpIface": ("s", "o"),
        "ActivateConnection": ("ooo", "o"),
        "AddAndActivateConnection": ("a{sa{sv}}oo", "oo"),
        "AddAndActivateConnection2": ("a{sa{sv}}ooa{sv}", "ooa{sv}"),
        "DeactivateConnection": ("o", ""),
        "GetPermissions": ("", "a{ss}"),
        "CheckConnectivity": ("", "u"),
        "Sleep": ("b", ""),
    },
    {
        "Devices": ("ao", []),
        "AllDevices": ("ao", []),
        "Checkpoints": ("ao", []),
        "NetworkingEnabled": ("b", True),
        "WirelessEnabled": ("b", True),
        "WirelessHardwareEnabled": ("b", True),
        "WwanEnabled": ("b", True),
        "WwanHardwareEnabled": ("b", True),
        "WimaxEnabled": ("b", False),
        "WimaxHardwareEnabled": ("b", False),
        "RadioFlags": ("u", 3),
        "ActiveConnections": ("ao", []),
        "PrimaryConnection": ("o", "/"),
        "PrimaryConnectionType": ("s", ""),
        "Metered": ("u", 4),
        "ActivatingConnection": ("o", "/"),
        "Startup": ("b", False),
        "Version": ("s", "1.42.4"),
        "Capabilities": ("au", []),
        "State": ("u", 20),
        "Connectivity": ("u", 1),
        "ConnectivityCheckAvailable": ("b", False),
        "ConnectivityCheckEnabled": ("b", False),
        "ConnectivityCheckUri": ("s", ""),
        "GlobalDnsConfiguration": ("a{sv}", {}),
    },
)

SETTINGS = Interface(
    NAME + ".Settings",
    {
        "ListConnections": ("", "ao"),
        "GetConnectionByUuid": ("s", "o"),
        "AddConnection": ("a{sa{sv}}", "o"),
        "AddConnectionUnsaved": ("a{sa{sv}}", "o"),
        "AddConnection2": ("a{sa{sv}}ua{sv}", "oa{sv}"),
        "ReloadConnections": ("", "b"),
    },
    {"Connections": ("ao", []), "Hostname": ("s", "machine"), "CanModify": ("b", True)},
)

CONNECTION = Interface(
    NAME + ".Settings.Connection",
    {
        "Update": ("a{sa{sv}}", ""),
        "UpdateUnsaved": ("a{sa{sv}}", ""),
        "Update2": ("a{sa{sv}}ua{sv}", "a{sv}"),
        "Save": ("", ""),
        "Delete": ("", ""),
        "GetSettings": ("", "a{sa{sv}}"),
        "GetSecrets": ("s", "a{sa{sv}}"),
        "ClearSecrets": ("", ""),
    },
    {"Unsaved": ("b", False), "Flags": ("u", 0), "Filename": ("s", "")},
)

ACTIVE = Interface(
    NAME + ".Connection.Active",
    {},
    {
        "Connection": ("o", "/"),
        "SpecificObject": ("o", "/"),
        "Id": ("s", ""),
        "Uuid": ("s", ""),
        "Type": ("s", ""),
        "Devices": ("ao", []),
        "State": ("u", 1),
        "StateFlags": ("u", 0),
        "Default": ("b", False),
        "Ip4Config": ("o", "/"),
        "Dhcp4Config": ("o", "/"),
        "Default6": ("b", False),
        "Ip6Config": ("o", "/"),
        "Dhcp6Config": ("o", "/"),
        "Vpn": ("b", False),
        "Master": ("o", "/"),
    },
)

DEVICE = Interface(
    NAME + ".Device",
    {
        "Disconnect": ("", ""),
        "Delete": ("", ""),
        "Reapply": ("a{sa{sv}}tu", ""),
        "GetAppliedConnection": ("u", "a{sa{sv}}t"),
    },
    {
        "Udi": ("s", ""),
        "Path": ("s", ""),
        "Interface": ("s", ""),
        "IpInterface": ("s", ""),
        "Driver": ("s", "simulated"),
        "DriverVersion": ("s", "1"),
        "FirmwareVersion": ("s", "1"),
        "Capabilities": ("u", 1),
        "Ip4Address": ("u", 0),
        "State": ("u", 30),
        "StateReason": ("(uu)", (30, 0)),
        "ActiveConnection": ("o", "/"),
        "Ip4Config": ("o", "/"),
        "Dhcp4Config": ("o", "/"),
        "Ip6Config": ("o", "/"),
        "Dhcp6Config": ("o", "/"),
        "Managed": ("b", True),
        "Autoconnect": ("b", True),
        "FirmwareMissing": ("b", False),
        "NmPluginMissing": ("b", False),
        "DeviceType": ("u", 0),
        "AvailableConnections": ("ao", []),
        "PhysicalPortId": ("s", ""),
        "Mtu": ("u", 1500),
        "Metered": ("u", 4),
        "LldpNeighbors": ("aa{sv}", []),
        "Real": ("b", True),
        "Ip4Connectivity": ("u", 1),
        "Ip6Connectivity": ("u", 1),
        "InterfaceFlags": ("u", 1),
        "HwAddress": ("s", ""),
        "Ports": ("ao", []),
    },
)

WIRELESS = Interface(
    NAME + ".Device.Wireless",
    {"GetAccessPoints": ("", "ao"), "GetAllAccessPoints": ("", "ao"), "RequestScan": ("a{sv}", "")},
    {
        "PermHwAddress": ("s", ""),
        "Mode": ("u", 2),
        "Bitrate": ("u", 0),
        "AccessPoints": ("ao", []),
        "ActiveAccessPoint": ("o", "/"),
        "WirelessCapabilities": ("u", 0xF7F),
        "LastScan": ("x", -1),
    },
)

WIRED = Interface(
    NAME + ".Device.Wired",
    {},
    {
        "PermHwAddress": ("s", ""),
        "Speed": ("u", 1000),
        "S390Subchannels": ("as", []),
        "Carrier": ("b", False),
    },
)

ACCESS_POINT = Interface(
    NAME + ".AccessPoint",
    {},
    {
        "Flags": ("u", 0),
        "WpaFlags": ("u", 0),
        "RsnFlags": ("u", 0),
        "Ssid": ("ay", b""),
        "Frequency": ("u", 0),
        "HwAddress": ("s", ""),
        "Mode": ("u", 2),
        "MaxBitrate": ("u", 54000),
        "Strength": ("y", 0),
        "LastSeen": ("i", -1),
    },
)

IP4_CONFIG = Interface(
    NAME + ".IP4Config",
    {},
    {
        "Addresses": ("aau", []),
        "AddressData": ("aa{sv}", []),
        "Gateway": ("s", ""),
        "Routes": ("aau", []),
        "RouteData": ("aa{sv}", []),
        "Nameservers": ("au", []),
        "NameserverData": ("aa{sv}", []),
        "Domains": ("as", []),
        "Searches": ("as", []),
        "DnsOptions": ("as", []),
        "DnsPriority": ("i", 100),
        "WinsServers": ("au", []),
        "WinsServerData": ("as", []),
    },
)

IP6_CONFIG = Interface(
    NAME + ".IP6Config",
    {},
    {
        "Addresses": ("a(ayuay)", []),
        "AddressData": ("aa{sv}", []),
        "Gateway": ("s", ""),
        "Routes": ("a(ayuayu)", []),
        "RouteData": ("aa{sv}", []),
        "Nameservers": ("aay", []),
        "Domains": ("as", []),
        "Searches": ("as", []),
        "DnsOptions": ("as", []),
        "DnsPriority": ("i", 100),
    },
)

DHCP4_CONFIG = Interface(NAME + ".DHCP4Config", {}, {"Options": ("a{sv}", {})})
