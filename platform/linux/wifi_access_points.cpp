#include "wifi_manager.h"

#include "AccessPointHandle.h"
#include "Air.h"
#include "CallGate.h"
#include "SsidText.h"
#include "WifiConnection.h"

// The access points in reach and their properties.

using namespace ap_handles;

namespace {

bool ReadName(const AccessPoint& ap, char*& out) {
  return ReadText(ssid_text::FromBytes(ap.radio.ssid), out);
}

bool ReadSignal(const AccessPoint& ap, int& out) {
  if (ap.radio.signal >= 0) {
    return false;
  }
  out = ap.radio.signal;
  return true;
}

}  // namespace

int wifi_ap_destroy(wifi_ap_h ap) {
  if (const auto refusal = call_gate::Refusal("wifi_ap_destroy", NameOf(ap))) {
    return *refusal;
  }
  return All().Remove(ap) ? WIFI_ERROR_NONE : WIFI_ERROR_INVALID_PARAMETER;
}

int wifi_ap_refresh(wifi_ap_h handle) {
  if (const auto refusal = call_gate::Refusal("wifi_ap_refresh", NameOf(handle))) {
    return *refusal;
  }
  AccessPoint* const ap = Find(handle);
  if (ap == nullptr) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  const HeardRadio* const heard = Air::Instance().Find(ap->radio.bssid);
  if (heard == nullptr) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  Radio now = heard->radio;
  if (now.ssid.empty()) {  // it hides a name that was known before
    now.ssid = ap->radio.ssid;
  }
  *ap = Describe(now);
  return WIFI_ERROR_NONE;
}

int wifi_ap_get_essid(wifi_ap_h ap, char** essid) {
  return ReadProperty("wifi_ap_get_essid", ap, essid, ReadName);
}

int wifi_ap_get_bssid(wifi_ap_h ap, char** bssid) {
  return ReadProperty("wifi_ap_get_bssid", ap, bssid, [](const AccessPoint& known, char*& out) {
    return ReadText(known.radio.bssid, out);
  });
}

int wifi_ap_get_rssi(wifi_ap_h ap, int* rssi) {
  return ReadProperty("wifi_ap_get_rssi", ap, rssi, ReadSignal);
}

int wifi_ap_get_frequency(wifi_ap_h ap, int* frequency) {
  return ReadProperty("wifi_ap_get_frequency", ap, frequency, [](const AccessPoint& known, int& out) {
    return ReadPositive(known.radio.frequency, out);
  });
}

int wifi_ap_get_security_type(wifi_ap_h ap, wifi_security_type_e* type) {
  return ReadProperty("wifi_ap_get_security_type", ap, type,
                      [](const AccessPoint& known, wifi_security_type_e& out) {
                        out = known.radio.security;
                        return true;
                      });
}

int wifi_ap_is_favorite(wifi_ap_h ap, bool* favorite) {
  return ReadProperty("wifi_ap_is_favorite", ap, favorite, [](const AccessPoint& known, bool& out) {
    out = !known.uuid.empty();
    return true;
  });
}

int wifi_ap_get_ip_address(wifi_ap_h ap, connection_address_family_e family, char** ip_address) {
  return ReadProperty(
      "wifi_ap_get_ip_address", ap, ip_address, [family](const AccessPoint& known, char*& out) {
        const std::string& address = family == CONNECTION_ADDRESS_FAMILY_IPV6 ? known.ipv6 : known.ipv4;
        return !address.empty() && ReadText(address, out);
      });
}

int wifi_manager_ap_clone(wifi_manager_ap_h* clone, wifi_manager_ap_h ap) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_ap_clone", NameOf(ap))) {
    return *refusal;
  }
  const AccessPoint* const known = Find(ap);
  if (clone == nullptr || known == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  *clone = All().Add(*known);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_ap_destroy(wifi_manager_ap_h ap) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_ap_destroy", NameOf(ap))) {
    return *refusal;
  }
  return All().Remove(ap) ? WIFI_MANAGER_ERROR_NONE : WIFI_MANAGER_ERROR_INVALID_PARAMETER;
}

int wifi_manager_ap_get_essid(wifi_manager_ap_h ap, char** essid) {
  return ReadProperty("wifi_manager_ap_get_essid", ap, essid, ReadName,
                      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_manager_ap_get_rssi(wifi_manager_ap_h ap, int* rssi) {
  return ReadProperty("wifi_manager_ap_get_rssi", ap, rssi, ReadSignal,
                      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}

int wifi_manager_ap_is_passphrase_required(wifi_manager_ap_h ap, bool* required) {
  return ReadProperty(
      "wifi_manager_ap_is_passphrase_required", ap, required,
      [](const AccessPoint& known, bool& out) {
        out = known.radio.security != WIFI_SECURITY_TYPE_NONE;
        return true;
      },
      WIFI_MANAGER_ERROR_OPERATION_FAILED);
}
