#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "AccessPointWalk.h"
#include "Air.h"
#include "CallGate.h"
#include "FoundNetworks.h"
#include "NumberedHandles.h"
#include "SavedNames.h"
#include "SsidText.h"
#include "WifiInterface.h"
#include "WifiManagers.h"
#include "wifi_manager.h"

namespace {

/// More names than this make a scan long, and no driver asks for many at a time.
constexpr std::size_t kMaxNames = 10;

struct SpecificScan {
  wifi_manager_h manager;
  std::set<int> frequencies;
};

/// What a user of the Wi-Fi manager interface holds.
struct Holdings {
  std::optional<wifi_manager_specific_scan_h> scan;  // the last that it made
  std::vector<HeardRadio> found_by_name;             // by its last scan for a name
};

struct Scans {
  NumberedHandles<wifi_manager_specific_scan_h, SpecificScan> handles;
  std::map<wifi_manager_h, Holdings> holdings;
  std::weak_ptr<bool> whole_scan;  // the one under way belongs to its answer
};

void RemoveScanOf(Scans& scans, wifi_manager_h manager) {
  if (const auto holdings = scans.holdings.find(manager);
      holdings != scans.holdings.end() && holdings->second.scan) {
    scans.handles.Remove(*holdings->second.scan);
  }
}

Scans& All() {
  static auto* const scans = [] {
    auto* const created = new Scans;
    wifi_managers::AddEndListener([created](wifi_manager_h manager) {
      RemoveScanOf(*created, manager);
      created->holdings.erase(manager);
    });
    return created;
  }();
  return *scans;
}

int ResultOf(bool is_done) {
  return is_done ? WIFI_ERROR_NONE : WIFI_ERROR_OPERATION_FAILED;
}

}  // namespace

int wifi_scan(wifi_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_scan")) {
    return *refusal;
  }
  if (const int error = wifi_interface::Check(callback != nullptr)) {
    return error;
  }
  Air& air = Air::Instance();
  if (!air.IsReady()) {
    return WIFI_ERROR_OPERATION_FAILED;
  }
  if (!All().whole_scan.expired()) {
    return WIFI_ERROR_NOW_IN_PROGRESS;
  }
  ScanRequest request{{}, {""}};
  for (std::string& name : SavedNamesToAskFor(air.Radios())) {
    if (request.names.size() < kMaxNames) {
      request.names.push_back(std::move(name));
    }
  }
  const auto scan = std::make_shared<bool>();
  All().whole_scan = scan;
  const auto tell = wifi_interface::Answer(callback, user_data);
  air.Scan(std::move(request), [scan, tell](bool is_done) {
    All().whole_scan.reset();  // the callback may ask for the next
    tell(ResultOf(is_done));
  });
  return WIFI_ERROR_NONE;
}

int wifi_manager_specific_scan_create(wifi_manager_h manager, wifi_manager_specific_scan_h* scan) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_scan_create")) {
    return *refusal;
  }
  if (!wifi_managers::IsAlive(manager) || scan == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  Scans& scans = All();
  RemoveScanOf(scans, manager);
  *scan = scans.handles.Add({manager, {}});
  scans.holdings[manager].scan = *scan;
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_specific_scan_set_freq(wifi_manager_specific_scan_h handle, int frequency) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_scan_set_freq", frequency)) {
    return *refusal;
  }
  SpecificScan* const scan = All().handles.Find(handle);
  if (scan == nullptr || frequency <= 0) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  scan->frequencies.insert(frequency);
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_specific_ap_start_multi_scan(wifi_manager_h manager,
                                              wifi_manager_specific_scan_h handle,
                                              wifi_manager_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_specific_ap_start_multi_scan")) {
    return *refusal;
  }
  const SpecificScan* const scan = All().handles.Find(handle);
  const bool is_scan_of_manager =
      scan != nullptr && scan->manager == manager && wifi_managers::IsAlive(manager);
  if (!is_scan_of_manager || scan->frequencies.empty() || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  if (!Air::Instance().IsReady()) {
    return WIFI_MANAGER_ERROR_OPERATION_FAILED;
  }
  const std::vector<int> frequencies(scan->frequencies.begin(), scan->frequencies.end());
  Air::Instance().Scan({frequencies, {""}}, [tell = wifi_managers::Answer(manager, callback, user_data)](
                                                bool is_done) { tell(ResultOf(is_done)); });
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_scan_specific_ap(wifi_manager_h manager, const char* essid,
                                  wifi_manager_finished_cb callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_scan_specific_ap", essid)) {
    return *refusal;
  }
  if (!wifi_managers::IsAlive(manager) || essid == nullptr || *essid == '\0' || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  if (!Air::Instance().IsReady()) {
    return WIFI_MANAGER_ERROR_OPERATION_FAILED;
  }
  const std::string name = ssid_text::ToBytes(essid);
  const auto tell = wifi_managers::Answer(manager, callback, user_data);
  Air::Instance().Scan({{}, {name}}, [manager, name, tell](bool is_done) {
    if (is_done && wifi_managers::IsAlive(manager)) {
      auto& found = All().holdings[manager].found_by_name;
      found.clear();
      std::ranges::copy_if(Air::Instance().Radios(), std::back_inserter(found),
                           [&name](const HeardRadio& heard) { return heard.radio.ssid == name; });
    }
    tell(ResultOf(is_done));
  });
  return WIFI_MANAGER_ERROR_NONE;
}

int wifi_manager_foreach_found_specific_ap(wifi_manager_h manager, wifi_manager_found_ap_cb callback,
                                           void* user_data) {
  if (const auto refusal = call_gate::Refusal("wifi_manager_foreach_found_specific_ap")) {
    return *refusal;
  }
  if (!wifi_managers::IsAlive(manager) || callback == nullptr) {
    return WIFI_MANAGER_ERROR_INVALID_PARAMETER;
  }
  const std::vector<HeardRadio> found = All().holdings[manager].found_by_name;
  WalkAccessPoints(found_networks::NetworksOf(found), callback, user_data);
  return WIFI_MANAGER_ERROR_NONE;
}
