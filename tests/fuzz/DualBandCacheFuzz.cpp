#include <cstdint>
#include <string>
#include <vector>

#include "CacheDualBandStatus.h"
#include "FuzzStore.h"
#include "NW_Common.h"
#include "dlog.h"
#include "vconf.h"
#include "vconf_keys.h"

// The list of dual-band access points as somebody may have left it in its setting, and addresses that
// are looked up in it and added to it: texts with a zero byte between them, the stored one first.

/// A line for each input would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

namespace {

constexpr const char* kKey = vconf_keys::kDualBandApMac;

std::string Stored() {
  const HeapString list(vconf_get_str(kKey));
  Require(list != nullptr);
  return list.get();
}

std::vector<std::string> Split(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> texts(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      texts.emplace_back();
    } else {
      texts.back() += static_cast<char>(data[i]);
    }
  }
  return texts;
}

void Save(CCachedDualBand& cache, const std::string& bssid) {
  const std::string before = Stored();
  const bool is_known = cache.m_IsCachedAsDualBand(bssid);
  Require(is_known == (before.find(bssid) != std::string::npos));
  cache.m_SaveAsDualBand(bssid);
  const std::string after = Stored();
  if (is_known) {
    Require(after == before);
  } else {
    Require(after == (before.empty() ? bssid : before + "|" + bssid));
  }
  Require(cache.m_IsCachedAsDualBand(bssid));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> texts = Split(data, size);
  Require(vconf_set_str(kKey, texts.front().c_str()) == VCONF_OK);
  CCachedDualBand cache;
  for (std::size_t i = 1; i < texts.size(); ++i) {
    Save(cache, texts[i]);
  }
  return 0;
}
