#include <cstdint>
#include <string>

#include "SavedNetworks.h"
#include "call_guarded.h"
#include "dlog.h"

// The list of saved networks as somebody may have left it in its setting, read at the daemon's start.

/// A line for each input would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

namespace {

/// A life of the daemon.
/// @return the list as it publishes it
std::string Live() {
  CallGuarded([] { SavedAPPriorityHandler::GetInstance(); });
  SavedAPPriorityHandler* const list = SavedAPPriorityHandler::GetInstance();
  list->UpdateVconf(true);
  SavedAPPriorityHandler::UpdateVconfCb(list);
  FuzzRoom::Published(vconf_keys::kTopSavedAP);
  const std::string published = FuzzRoom::Published(vconf_keys::kSavedAPList);
  vconf_ignore_key_changed(vconf_keys::kCommand, SavedAPPriorityHandler::_VconfSavedAPCommandChnage);
  delete list;
  return published;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzRoom room;
  const std::string text(reinterpret_cast<const char*>(data), size);
  vconf_set_str(vconf_keys::kSavedAPList, text.c_str());
  const std::string published = Live();
  FuzzRoom::Settle();
  Require(Live() == published);  // what it has written it reads
  FuzzRoom::Settle();
  return 0;
}
