#include "PulseLibrary.h"

#include <dlfcn.h>

#include "PlatformLog.h"

namespace {

template <class Function>
bool Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

bool FindAll(void* library, void* on_glib, PulseLibrary& pulse) {
  return Find(on_glib, "pa_glib_mainloop_new", pulse.glib_mainloop_new) &&
         Find(on_glib, "pa_glib_mainloop_free", pulse.glib_mainloop_free) &&
         Find(on_glib, "pa_glib_mainloop_get_api", pulse.glib_mainloop_get_api) &&
         Find(library, "pa_context_new", pulse.context_new) &&
         Find(library, "pa_context_unref", pulse.context_unref) &&
         Find(library, "pa_context_connect", pulse.context_connect) &&
         Find(library, "pa_context_disconnect", pulse.context_disconnect) &&
         Find(library, "pa_context_get_state", pulse.context_get_state) &&
         Find(library, "pa_context_errno", pulse.context_errno) &&
         Find(library, "pa_context_set_state_callback", pulse.context_set_state_callback) &&
         Find(library, "pa_context_set_subscribe_callback", pulse.context_set_subscribe_callback) &&
         Find(library, "pa_context_subscribe", pulse.context_subscribe) &&
         Find(library, "pa_context_get_server_info", pulse.context_get_server_info) &&
         Find(library, "pa_context_get_sink_info_by_name", pulse.context_get_sink_info_by_name) &&
         Find(library, "pa_operation_cancel", pulse.operation_cancel) &&
         Find(library, "pa_operation_unref", pulse.operation_unref) &&
         Find(library, "pa_strerror", pulse.strerror);
}

}  // namespace

const PulseLibrary* PulseLibrary::Load() {
  static PulseLibrary pulse;
  static bool is_loaded = false;
  if (is_loaded) {
    return &pulse;
  }
  void* const library = dlopen("libpulse.so.0", RTLD_NOW | RTLD_LOCAL);
  void* const on_glib =
      library != nullptr ? dlopen("libpulse-mainloop-glib.so.0", RTLD_NOW | RTLD_LOCAL) : nullptr;
  is_loaded = on_glib != nullptr && FindAll(library, on_glib, pulse);
  if (!is_loaded) {
    PLATFORM_LOG(DLOG_ERROR, "the sound server cannot be asked: %s", dlerror());
    return nullptr;
  }
  return &pulse;
}
