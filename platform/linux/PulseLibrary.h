#pragma once

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/glib-mainloop.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/subscribe.h>

/// The functions of libpulse that tell where the sound goes. The library is loaded with the first
/// question and not with the daemon: it brings a dozen other libraries along, and on a machine where
/// nobody asks they would be in memory for nothing.
struct PulseLibrary {
  /// @return null when it is not installed; logged. Main-loop thread only.
  static const PulseLibrary* Load();

  decltype(&pa_glib_mainloop_new) glib_mainloop_new;
  decltype(&pa_glib_mainloop_free) glib_mainloop_free;
  decltype(&pa_glib_mainloop_get_api) glib_mainloop_get_api;
  decltype(&pa_context_new) context_new;
  decltype(&pa_context_unref) context_unref;
  decltype(&pa_context_connect) context_connect;
  decltype(&pa_context_disconnect) context_disconnect;
  decltype(&pa_context_get_state) context_get_state;
  decltype(&pa_context_errno) context_errno;
  decltype(&pa_context_set_state_callback) context_set_state_callback;
  decltype(&pa_context_set_subscribe_callback) context_set_subscribe_callback;
  decltype(&pa_context_subscribe) context_subscribe;
  decltype(&pa_context_get_server_info) context_get_server_info;
  decltype(&pa_context_get_sink_info_by_name) context_get_sink_info_by_name;
  decltype(&pa_operation_cancel) operation_cancel;
  decltype(&pa_operation_unref) operation_unref;
  decltype(&pa_strerror) strerror;
};
