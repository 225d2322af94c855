#pragma once

#include <gio/gio.h>

/* How a stand-in for a service answers on the bus, as a test tells it:
 *   normally, not at all, with an error, with nonsense, by dying; or late, when it has stood still for a
 *   second and a half
 * to calls of any method that is listed, or of one alone.
 */

/* methods: of which a call may be answered otherwise; NULL at the end, static. */
void stub_answers_init(GDBusConnection* connection, const char* const* methods);

/* how: "normally", "never", "error", "nonsense", "death" or "late"; method: NULL for all of them. */
void stub_answers_set(const char* how, const char* method);
