#pragma once

#include <glib.h>

/// Timers of the main loop whose owner keeps their id: 0 is no timer. An id may outlive its timer, since
/// one that has run is gone without anybody clearing the id. Main-loop thread only.

/// Starts a timer, and tries once more when that fails.
/// @param cb    called every so many seconds until it returns G_SOURCE_REMOVE; null starts nothing
/// @param data  borrowed until the timer has ended
/// @param id    out: the timer's id, 0 when there is none; nothing is started when it holds one already.
///              Null when nobody will end the timer.
void add_timer_seconds(unsigned seconds, GSourceFunc cb, gpointer data, guint* id);

/// Ends the timer if it still runs, and clears its id. May be called from inside the timer's callback.
void remove_timer(guint* id);
