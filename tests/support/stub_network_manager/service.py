"""A service on the system bus that a test may have misbehave: its connection, its objects and its answers."""

import os

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PROPERTIES = "org.freedesktop.DBus.Properties"
OBJECT_MANAGER = "org.freedesktop.DBus.ObjectManager"
PROPERTIES_METHODS = {
    "Get": ("ss", "v"),
    "GetAll": ("s", "a{sv}"),
    "Set": ("ssv", ""),
}
OBJECT_MANAGER_METHODS = {"GetManagedObjects": ("", "a{oa{sa{sv}}}")}


class Interface:
    """What an interface of an object has."""

    def __init__(self, name, methods, properties):
        """
        methods: signatures of what goes in and out, by name
        properties: signature and first value, by name
        """
        self.name = name
        self.properties = properties
        text = ""
        for method, signatures in methods.items():
            text += f'<method name="{method}">'
            for signature, direction in zip(signatures, ("in", "out")):
                for part in split(signature):
                    text += f'<arg type="{part}" direction="{direction}"/>'
            text += "</method>"
        node = Gio.DBusNodeInfo.new_for_xml(f'<node><interface name="{name}">{text}</interface></node>')
        self.info = node.interfaces[0]
        self.outputs = {method: f"({signatures[1]})" for method, signatures in methods.items()}


def split(signature):
    """The complete types that a signature consists of."""
    parts = []
    while signature:
        length = 1
        while not GLib.VariantType.string_is_valid(signature[:length]):
            length += 1
        parts.append(signature[:length])
        signature = signature[length:]
    return parts


PROPERTIES_INTERFACE = Interface(PROPERTIES, PROPERTIES_METHODS, {})
OBJECT_MANAGER_INTERFACE = Interface(OBJECT_MANAGER, OBJECT_MANAGER_METHODS, {})


class Refusal(Exception):
    """A call that is answered with an error."""

    def __init__(self, name, text):
        super().__init__(text)
        self.name = name
        self.text = text


class BusObject:
    """An object of a service. Its methods are the Python methods of the same names. One in `raw_methods` is
    given its parameters as one GVariant, because their types matter."""

    raw_methods = frozenset()

    def __init__(self, service, path, interfaces, values=None):
        self.service = service
        self.path = path
        self.interfaces = {interface.name: interface for interface in interfaces}
        self.properties = {
            interface.name: {name: GLib.Variant(*typed) for name, typed in interface.properties.items()}
            for interface in interfaces
        }
        for name, value in (values or {}).items():
            self._put(name, value)
        service.add(self)

    def remove(self):
        self.service.remove(self)

    def _home_of(self, name):
        for interface in self.interfaces.values():
            if name in interface.properties:
                return interface
        raise KeyError(name)

    def _put(self, name, value):
        interface = self._home_of(name)
        variant = GLib.Variant(interface.properties[name][0], value)
        self.properties[interface.name][name] = variant
        return interface.name, variant

    def get(self, name):
        return self.properties[self._home_of(name).name][name].unpack()

    def set(self, **values):
        """Changes properties and tells of it, of each interface at once."""
        changed = {}
        for name, value in values.items():
            interface, variant = self._put(name, value)
            changed.setdefault(interface, {})[name] = variant
        for interface, properties in changed.items():
            self.tell(interface, properties)

    def tell(self, interface, properties):
        self.emit(PROPERTIES, "PropertiesChanged", GLib.Variant("(sa{sv}as)", (interface, properties, [])))

    def emit(self, interface, signal, parameters=None):
        self.service.emit(self.path, interface, signal, parameters)

    def was_set(self, name, value):
        """Somebody on the bus writes a property."""
        self.set(**{name: value})


class Service:
    """A name on the bus with objects behind it. It can die and come back: its objects live on, unless who
    owns them takes them away, and are on the bus when it is."""

    def __init__(self, name, manager_path=None):
        """manager_path: of the object that lists the others; none if nothing does"""
        self.name = name
        self.manager_path = manager_path
        self.connection = None
        self.objects = {}
        self.registrations = {}
        self.how = "normally"
        self.only = None
        self.counts = {}

    def start(self):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.connection = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SYSTEM_BUS_ADDRESS"], flags, None, None
        )
        self.how = "normally"
        if self.manager_path is not None:
            self._register(self.manager_path, OBJECT_MANAGER_INTERFACE)
        for item in self.objects.values():
            self._export(item)
        self.connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            GLib.Variant("(su)", (self.name, 4)), None, Gio.DBusCallFlags.NONE, -1, None,
        )

    def stop(self):
        """As a crash does, also in the middle of a call."""
        if self.connection is not None and not self.connection.is_closed():
            self.connection.close_sync(None)
        self.connection = None
        self.registrations.clear()

    def is_running(self):
        return self.connection is not None and not self.connection.is_closed()

    def answer(self, how, only=None):
        """
        how: "normally", "late MILLISECONDS", "error", "nonsense", "never" or "death"
        only: the method that is answered like this; else all are
        """
        self.how = how
        self.only = only

    def flush(self):
        if self.is_running():
            self.connection.flush_sync(None)

    def add(self, item):
        self.objects[item.path] = item
        if self.is_running():
            self._export(item)
            self._tell_manager("InterfacesAdded", "(oa{sa{sv}})", (item.path, item.properties))

    def remove(self, item):
        del self.objects[item.path]
        if self.is_running():
            for registration in self.registrations.pop(item.path, ()):
                self.connection.unregister_object(registration)
            self._tell_manager("InterfacesRemoved", "(oas)", (item.path, list(item.interfaces)))

    def _tell_manager(self, signal, signature, arguments):
        if self.manager_path is not None:
            self.emit(self.manager_path, OBJECT_MANAGER, signal, GLib.Variant(signature, arguments))

    def emit(self, path, interface, signal, parameters=None):
        if self.is_running():
            self.connection.emit_signal(None, path, interface, signal, parameters)

    def _export(self, item):
        for interface in item.interfaces.values():
            self._register(item.path, interface)
        self._register(item.path, PROPERTIES_INTERFACE)

    def _register(self, path, interface):
        registration = self.connection.register_object(path, interface.info, self._on_call, None, None)
        self.registrations.setdefault(path, []).append(registration)

    def _on_call(self, _connection, sender, path, interface, method, parameters, call):
        self.counts[method] = self.counts.get(method, 0) + 1
        how = self.how if self.only in (None, method) else "normally"
        if how == "never":
            return
        if how == "death":
            self.stop()
            return
        if how.startswith("late"):
            GLib.timeout_add(int(how.split()[1]), self._answer_late, path, interface, method, parameters, call)
        elif how == "error":
            call.return_dbus_error("org.freedesktop.DBus.Error.Failed", "asked to fail")
        elif how == "nonsense":
            reply = Gio.DBusMessage.new_method_reply(call.get_message())
            reply.set_body(GLib.Variant("(ixay)", (-1, 1 << 40, b"\xff\x00\xfe")))
            self.connection.send_message(reply, Gio.DBusSendMessageFlags.NONE)
        else:
            self._answer(path, interface, method, parameters, call)

    def _answer_late(self, *arguments):
        if self.is_running():
            self._answer(*arguments)
        return GLib.SOURCE_REMOVE

    def _answer(self, path, interface, method, parameters, call):
        try:
            if interface == OBJECT_MANAGER:
                call.return_value(self._managed_objects())
                return
            item = self.objects.get(path)
            if item is None:
                raise Refusal("org.freedesktop.DBus.Error.UnknownObject", path)
            if interface == PROPERTIES:
                call.return_value(self._answer_properties(item, method, parameters))
                return
            arguments = (parameters,) if method in item.raw_methods else parameters.unpack()
            result = getattr(item, method)(*arguments)
            signature = item.interfaces[interface].outputs[method]
            call.return_value(GLib.Variant(signature, result) if signature != "()" else None)
        except Refusal as refusal:
            call.return_dbus_error(refusal.name, refusal.text)

    def _managed_objects(self):
        objects = {path: item.properties for path, item in self.objects.items()}
        return GLib.Variant("(a{oa{sa{sv}}})", (objects,))

    @staticmethod
    def _answer_properties(item, method, parameters):
        interface = parameters[0]
        properties = item.properties.get(interface)
        if properties is None:
            raise Refusal("org.freedesktop.DBus.Error.UnknownInterface", interface)
        if method == "GetAll":
            return GLib.Variant("(a{sv})", (properties,))
        name = parameters[1]
        if name not in properties:
            raise Refusal("org.freedesktop.DBus.Error.UnknownProperty", name)
        if method == "Get":
            return GLib.Variant("(v)", (properties[name],))
        item.was_set(name, parameters[2])
        return None
