#pragma once

#include <functional>

#include "wifi_manager.h"

/// The users of the Wi-Fi manager interface. A handle is never given again, so that an answer may ask
/// when it is due whether the one who asked is still there. Main-loop thread only.
namespace wifi_managers {

/// @return whether the handle exists (still)
[[nodiscard]] bool IsAlive(wifi_manager_h manager);

/// @param on_end  called with each handle when it ends: whoever keeps something for handles lets go of
///                it then
void AddEndListener(std::function<void(wifi_manager_h manager)> on_end);

/// An error of the Wi-Fi interface in the words of this one. What is none of them stays as it is.
[[nodiscard]] wifi_manager_error_e Translated(int error);

/// How the daemon's callback hears of the end of its request: guarded, and only while its handle lives.
/// @return takes a code of the Wi-Fi interface
[[nodiscard]] std::function<void(int result)> Answer(wifi_manager_h manager,
                                                     wifi_manager_finished_cb callback, void* user_data);

}  // namespace wifi_managers
