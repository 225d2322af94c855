/* Stands where ModemManager stands on the bus, with at most one modem; argument 1, if any, is how it
 * answers (below). It says a line when it has its
 * name, and answers each line of its standard input with one when that is done:
 *   insert, remove
 *   answers normally|never|error|nonsense|death|late
 *     how it answers to whoever asks for its objects from then on
 */
#include <gio/gio.h>
#include <glib-unix.h>
#include <libmm-glib.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "stub_answers.h"

#define ROOT "/org/freedesktop/ModemManager1"
#define MODEM ROOT "/Modem/0"

static void say(GDBusConnection* connection, const char* line) {
  g_dbus_connection_flush_sync(connection, NULL, NULL);
  puts(line);
  fflush(stdout);
}

static void insert_modem(GDBusObjectManagerServer* modems) {
  MmGdbusObjectSkeleton* object = mm_gdbus_object_skeleton_new(MODEM);
  MmGdbusModem* modem = mm_gdbus_modem_skeleton_new();
  mm_gdbus_modem_set_model(modem, "Dongle-1");
  mm_gdbus_object_skeleton_set_modem(object, modem);
  g_dbus_object_manager_server_export(modems, G_DBUS_OBJECT_SKELETON(object));
  g_object_unref(modem);
  g_object_unref(object);
}

static gboolean on_command(gint fd, GIOCondition condition, gpointer modems) {
  char line[64];
  const ssize_t length = read(fd, line, sizeof line - 1);
  (void)condition;
  if (length <= 0) {
    _exit(0);
  }
  line[length] = '\0';
  char** words = g_strsplit(g_strstrip(line), " ", 2);
  if (strcmp(words[0], "insert") == 0) {
    insert_modem(modems);
  } else if (strcmp(words[0], "remove") == 0) {
    g_dbus_object_manager_server_unexport(modems, MODEM);
  } else if (strcmp(words[0], "answers") == 0) {
    stub_answers_set(words[1], NULL);
  }
  g_strfreev(words);
  GDBusConnection* connection = g_dbus_object_manager_server_get_connection(modems);
  say(connection, "done");
  g_object_unref(connection);
  return G_SOURCE_CONTINUE;
}

static void on_name(GDBusConnection* connection, const gchar* name, gpointer user_data) {
  (void)user_data;
  say(connection, name);
}

int main(int argc, char** argv) {
  static const char* const methods[] = {"GetManagedObjects", NULL};
  GError* error = NULL;
  GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, NULL, &error);
  if (connection == NULL) {
    fprintf(stderr, "%s\n", error->message);
    return 1;
  }
  stub_answers_init(connection, methods);
  stub_answers_set(argc > 1 ? argv[1] : "normally", NULL);
  GDBusObjectManagerServer* modems = g_dbus_object_manager_server_new(ROOT);
  g_dbus_object_manager_server_set_connection(modems, connection);
  g_bus_own_name_on_connection(connection, "org.freedesktop.ModemManager1", G_BUS_NAME_OWNER_FLAGS_NONE,
                               on_name, NULL, NULL, NULL);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, on_command, modems);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
  return 0;
}
