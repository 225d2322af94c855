#include "CacheDualBandStatus.h"

#include <cstring>

#include "Log.h"
#include "NW_Common.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

/// strstr() and not find(), which stops at every first letter: the list grows for the life of the TV,
/// and its entries begin alike.
bool Contains(const std::string& list, const std::string& bssid) {
  return std::strstr(list.c_str(), bssid.c_str()) != nullptr;
}

}  // namespace

void CCachedDualBand::Init() {
  const HeapString list(vconf_get_str(vconf_keys::kDualBandApMac));
  if (list != nullptr) {
    m_list = list.get();
  }
}

void CCachedDualBand::m_SaveAsDualBand(const std::string& bssid) {
  Init();
  if (Contains(m_list, bssid)) {
    NW_LOG("Already in cached");
    return;
  }
  if (!m_list.empty()) {
    m_list += "|";
  }
  m_list += bssid;
  NW_LOG("Added in cached vconf %s", m_list.c_str());
  vconf_set_str(vconf_keys::kDualBandApMac, m_list.c_str());
}

bool CCachedDualBand::m_IsCachedAsDualBand(const std::string& bssid) {
  Init();
  const bool is_cached = Contains(m_list, bssid);
  NW_LOG("m_IsCachedAsDualBand =>%d", is_cached);
  return is_cached;
}

CCachedDualBand* GetCachedInstance() {
  static CCachedDualBand cache;
  return &cache;
}
