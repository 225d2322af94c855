#include "ApHandles.h"

wifi_ap_h ApHandles::Add(const AccessPoint& ap) {
  constexpr std::size_t kStep = 16;  // looks like an address, and is none of this process
  const auto handle = reinterpret_cast<wifi_ap_h>(++m_given * kStep);
  m_aps.emplace(handle, ap);
  return handle;
}

AccessPoint* ApHandles::Find(wifi_ap_h handle) {
  const auto ap = m_aps.find(handle);
  return ap == m_aps.end() ? nullptr : &ap->second;
}
