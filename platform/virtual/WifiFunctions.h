#pragma once

#include <string>

#include "CallGate.h"
#include "Wifi.h"
#include "call_guarded.h"

/// What the functions of the Wi-Fi interface and of the Wi-Fi manager interface share.
namespace wifi_functions {

Wifi& TheWifi();

/// Null when there is no such handle (any more).
AccessPoint* Find(wifi_ap_h ap);

/// A handle in the record of calls.
const char* NameOf(const AccessPoint* ap);

/// @param out  a heap string
bool ReadText(const std::string& text, char*& out);

bool ReadPositive(int number, int& out);

/// @param read  (const AccessPoint&, Out&) -> whether the property is known; writes only then
/// @param not_known  the interface's error when it is not
template <class Out, class Read>
int ReadProperty(const char* function, wifi_ap_h handle, Out* out, Read read,
                 int not_known = WIFI_ERROR_OPERATION_FAILED) {
  static_assert(int{WIFI_ERROR_INVALID_PARAMETER} == int{WIFI_MANAGER_ERROR_INVALID_PARAMETER});
  const AccessPoint* const ap = Find(handle);
  if (const auto refusal = call_gate::Refusal(function, NameOf(ap))) {
    return *refusal;
  }
  if (ap == nullptr || out == nullptr) {
    return WIFI_ERROR_INVALID_PARAMETER;
  }
  return read(*ap, *out) ? WIFI_ERROR_NONE : not_known;
}

/// Calls back for each until a callback says that it is enough.
template <class Handle, class Object, class Objects, class Callback>
void Walk(NumberedHandles<Handle, Object>& handles, const Objects& objects, Callback callback,
          void* user_data) {
  for (const Object& object : objects) {
    const BorrowedHandle<Handle, Object> handle(handles, object);
    bool goes_on = false;
    CallGuarded([&] { goes_on = callback(handle.Get(), user_data); });
    if (!goes_on) {
      break;
    }
  }
}

}  // namespace wifi_functions
