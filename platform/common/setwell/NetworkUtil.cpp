#include "setwell/NetworkUtil.h"

#include "PlatformLog.h"
#include "net_connection.h"

namespace Setwell {

namespace {

/// The library's way to the connection interface. Null when it could not be had yet.
connection_h& Connection() {
  static connection_h connection = nullptr;
  return connection;
}

bool OpenConnection() {
  if (Connection() != nullptr) {
    return true;
  }
  connection_h connection = nullptr;
  const int result = connection_create(&connection);
  if (result != CONNECTION_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "the network library cannot ask about the network: %d", result);
    return false;
  }
  Connection() = connection;
  return true;
}

}  // namespace

void NetworkUtil::InitializeNetworkLib() {
  OpenConnection();
  if (const int result = wifi_initialize(); result != WIFI_ERROR_NONE) {
    PLATFORM_LOG(DLOG_WARN, "the network library begins without Wi-Fi: %d", result);
  }
}

void NetworkUtil::DeinitializeNetworkLib() {
  if (Connection() == nullptr) {
    return;
  }
  connection_destroy(Connection());
  Connection() = nullptr;
}

eNetworkType NetworkUtil::GetNetworkType() {
  connection_profile_h profile = nullptr;
  if (!OpenConnection() ||
      connection_get_current_profile(Connection(), &profile) != CONNECTION_ERROR_NONE) {
    return NETWORK_TYPE_NONE;
  }
  connection_profile_type_e type = CONNECTION_PROFILE_TYPE_CELLULAR;
  const int result = connection_profile_get_type(profile, &type);
  connection_profile_destroy(profile);
  if (result != CONNECTION_ERROR_NONE) {
    return NETWORK_TYPE_NONE;
  }
  switch (type) {
    case CONNECTION_PROFILE_TYPE_CELLULAR:
      return NETWORK_TYPE_CELLULAR;
    case CONNECTION_PROFILE_TYPE_WIFI:
      return NETWORK_TYPE_WIRELESS;
    case CONNECTION_PROFILE_TYPE_ETHERNET:
      return NETWORK_TYPE_WIRED;
  }
  return NETWORK_TYPE_NONE;
}

bool NetworkUtil::IsGateWayConnected() {
  bool has_gateway = false;
  return connection_profile_check_default_gateway(&has_gateway) == CONNECTION_ERROR_NONE && has_gateway;
}

wifi_security_type_e NetworkUtil::convert_security_type_enum(int type) {
  switch (type) {
    case SECURITY_OPEN:
      return WIFI_SECURITY_TYPE_NONE;
    case SECURITY_WEP:
      return WIFI_SECURITY_TYPE_WEP;
    case SECURITY_WPA_PSK:
      return WIFI_SECURITY_TYPE_WPA_PSK;
    case SECURITY_WPA3_SAE:
      return WIFI_SECURITY_TYPE_SAE;
    case SECURITY_EAP:
      return WIFI_SECURITY_TYPE_EAP;
    default:
      return WIFI_SECURITY_TYPE_WPA2_PSK;
  }
}

}  // namespace Setwell
