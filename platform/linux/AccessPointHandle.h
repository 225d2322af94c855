#pragma once

#include <string>

#include "CallGate.h"
#include "NumberedHandles.h"
#include "Radio.h"

/// What a handle of the Wi-Fi interfaces stands for: an access point as it was at some moment.
struct AccessPoint {
  Radio radio;
  std::string uuid = {};  ///< of the profile that saves its network; empty: not saved
  std::string ipv4 = {};  ///< the TV's own addresses there; empty: none, or not connected to it
  std::string ipv6 = {};
};

/// The access points that the daemon holds handles of. A number is never given again, so a handle that
/// has ended is told from one that lives. Main-loop thread only.
namespace ap_handles {

using Handles = NumberedHandles<wifi_ap_h, AccessPoint>;

/// The handles of this process.
Handles& All();

/// A handle that lives as long as the callback that it is handed to.
class Borrowed : public BorrowedHandle<wifi_ap_h, AccessPoint> {
 public:
  explicit Borrowed(const AccessPoint& ap) : BorrowedHandle(All(), ap) {}
};

/// Null when there is no such handle (any more); valid until it is destroyed.
AccessPoint* Find(wifi_ap_h ap);

/// A handle in the record of calls.
const char* NameOf(wifi_ap_h ap);

/// @param out  a heap string, for free()
bool ReadText(const std::string& text, char*& out);

bool ReadPositive(int number, int& out);

/// The body of a function that reads a property.
/// @param read  (const AccessPoint&, Out&) -> whether the property is known; writes only then
/// @param not_known  the interface's error when it is not
template <class Out, class Read>
int ReadProperty(const char* function, wifi_ap_h handle, Out* out, Read read,
                 int not_known = WIFI_ERROR_OPERATION_FAILED) {
  static_assert(int{WIFI_ERROR_INVALID_PARAMETER} == int{WIFI_MANAGER_ERROR_INVALID_PARAMETER});
  if (const auto refusal = call_gate::Refusal(function, NameOf(handle))) {
    return *refusal;
  }
  const AccessPoint* const ap = Find(handle);
  if (ap == nullptr || out == nullptr) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  return read(*ap, *out) ? WIFI_ERROR_NONE : not_known;
}

}  // namespace ap_handles
