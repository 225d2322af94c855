#pragma once

#include <string_view>

/// The platform functions that can be told to fail: every function of platform/include/ that answers
/// something. A test holds this list to the headers.
inline constexpr std::string_view kPlatformFunctions[] = {
    "connection_create",
    "connection_destroy",
    "connection_set_ethernet_cable_state_chaged_cb",
    "platform_start",
    "system_info_get_custom_bool",
    "system_info_get_custom_int",
    "system_info_get_value_int",
    "system_info_get_value_string",
    "tel_deinit",
    "tel_get_property_int",
    "tel_init",
    "tel_register_noti_event",
    "vconf_get_bool",
    "vconf_get_int",
    "vconf_get_str",
    "vconf_ignore_key_changed",
    "vconf_notify_key_changed",
    "vconf_set_bool",
    "vconf_set_int",
    "vconf_set_str",
};
