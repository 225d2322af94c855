#include "TimerHelper.h"

#include "Log.h"

void add_timer_seconds(unsigned seconds, GSourceFunc cb, gpointer data, guint* id) {
  if (cb == nullptr) {
    NW_LOG("callback function is NULL");
    return;
  }
  if (id != nullptr && *id != 0) {
    NW_LOG("timer already is registered");
    return;
  }
  guint timer = g_timeout_add_seconds(seconds, cb, data);
  if (timer == 0) {
    NW_LOG("Can't add timer");
    timer = g_timeout_add_seconds(seconds, cb, data);
    if (timer == 0) {
      NW_LOG("Can't add timer again");
    }
  }
  if (id != nullptr) {
    *id = timer;
  }
}

void remove_timer(guint* id) {
  if (id == nullptr) {
    NW_LOG("timer is NULL");
    return;
  }
  // GLib takes it ill to be asked to remove what has ended.
  if (*id != 0 && g_main_context_find_source_by_id(nullptr, *id) != nullptr) {
    g_source_remove(*id);
  }
  *id = 0;
}
