#include <cstdint>
#include <string>

#include "SavedNetworks.h"
#include "call_guarded.h"
#include "dlog.h"

// A command on saved networks, as whoever may write its setting has written it.

/// A line for each input would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzRoom room;
  SavedAPPriorityHandler* const list = SavedAPPriorityHandler::GetInstance();
  SavedAPConnHander* const tile = SavedAPConnHander::GetInstance();
  const std::string text(reinterpret_cast<const char*>(data), size);
  CallGuarded([&] { tile->ParseCommandJson(text); });
  CallGuarded([&] { list->ParseCommandJson(text); });
  FuzzRoom::Settle();
  SavedAPPriorityHandler::UpdateVconfCb(list);
  FuzzRoom::Published(vconf_keys::kSavedAPList);
  FuzzRoom::Published(vconf_keys::kTopSavedAP);
  return 0;
}
