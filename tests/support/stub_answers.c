#include "stub_answers.h"

#include <string.h>
#include <unistd.h>

/* The bus's thread reads what the main thread sets. */
static GMutex lock;
static char* answers;
static char* alone;
static const char* const* listed;

static gboolean is_answered_normally(GDBusMessage* message) {
  const char* member = g_dbus_message_get_member(message);
  return answers == NULL || strcmp(answers, "normally") == 0 || member == NULL ||
         g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
         !g_strv_contains(listed, member) || (alone != NULL && strcmp(alone, member) != 0);
}

static void answer(GDBusConnection* connection, GDBusMessage* message) {
  if (strcmp(answers, "death") == 0) {
    _exit(1);
  }
  if (strcmp(answers, "never") == 0) {
    return;
  }
  GDBusMessage* reply =
      strcmp(answers, "error") == 0
          ? g_dbus_message_new_method_error(message, "org.freedesktop.DBus.Error.Failed", "asked to")
          : g_dbus_message_new_method_reply(message);
  if (strcmp(answers, "nonsense") == 0) {
    g_dbus_message_set_body(reply, g_variant_new("(ix)", 1, (gint64)2));
  }
  g_dbus_connection_send_message(connection, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, NULL, NULL);
  g_object_unref(reply);
}

/* In the bus's thread: what is not answered normally does not come further. */
static GDBusMessage* on_message(GDBusConnection* connection, GDBusMessage* message, gboolean is_incoming,
                                gpointer user_data) {
  (void)user_data;
  g_mutex_lock(&lock);
  const gboolean is_late = is_incoming && !is_answered_normally(message) && strcmp(answers, "late") == 0;
  const gboolean is_ours = is_incoming && !is_late && !is_answered_normally(message);
  if (is_ours) {
    answer(connection, message);
  }
  g_mutex_unlock(&lock);
  if (is_late) {
    g_usleep(1500000);
  }
  if (is_ours) {
    g_object_unref(message);
    return NULL;
  }
  return message;
}

void stub_answers_init(GDBusConnection* connection, const char* const* methods) {
  listed = methods;
  g_dbus_connection_add_filter(connection, on_message, NULL, NULL);
}

void stub_answers_set(const char* how, const char* method) {
  g_mutex_lock(&lock);
  g_free(answers);
  g_free(alone);
  answers = g_strdup(how);
  alone = g_strdup(method);
  g_mutex_unlock(&lock);
}
