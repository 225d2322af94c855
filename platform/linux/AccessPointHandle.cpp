#include "AccessPointHandle.h"

#include <cstring>

namespace ap_handles {

Handles& All() {
  static auto* const handles = new Handles;
  return *handles;
}

AccessPoint* Find(wifi_ap_h ap) {
  return All().Find(ap);
}

const char* NameOf(wifi_ap_h ap) {
  const AccessPoint* const known = Find(ap);
  return known == nullptr ? nullptr : known->radio.bssid.c_str();
}

bool ReadText(const std::string& text, char*& out) {
  char* const copy = strdup(text.c_str());
  if (copy == nullptr) {
    return false;
  }
  out = copy;
  return true;
}

bool ReadPositive(int number, int& out) {
  if (number <= 0) {
    return false;
  }
  out = number;
  return true;
}

}  // namespace ap_handles
