/* Stands where UDisks2 stands on the bus. It says a line when it has its name, and answers each line of
 * its standard input with one when that is done:
 *   insert NAME [model=M] [vendor=V] [bus=B] [fixed] [partitions=N] [mounted=PATH] [unmountable=N]
 * [taken] a drive with N partitions (1), each with a file system; all mounted at PATH, or none, of which
 * the first "unmountable" cannot be; "taken": somebody else mounts them at the very moment remove NAME
 *   answers normally|never|error|nonsense|death|late [METHOD]
 *     how it answers to whoever asks for its objects or wants something mounted from then on; to a call
 *     of this method alone
 *   mounts
 *     answers how often something was to be mounted
 */
#define UDISKS_API_IS_SUBJECT_TO_CHANGE
#include <gio/gio.h>
#include <glib-unix.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <udisks/udisks.h>
#include <unistd.h>

#include "stub_answers.h"

#define ROOT "/org/freedesktop/UDisks2"

static GDBusObjectManagerServer* disks;
static gint mounts = 0;

static void say(GDBusConnection* connection, const char* line) {
  g_dbus_connection_flush_sync(connection, NULL, NULL);
  puts(line);
  fflush(stdout);
}

static gboolean on_mount(UDisksFilesystem* file_system, GDBusMethodInvocation* call, GVariant* options,
                         gpointer is_mountable) {
  (void)options;
  const char* path = g_object_get_data(G_OBJECT(file_system), "path");
  const char* points[] = {path, NULL};
  ++mounts;
  if (g_object_get_data(G_OBJECT(file_system), "taken") != NULL) {
    udisks_filesystem_set_mount_points(file_system, points);
    g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.UDisks2.Error.AlreadyMounted",
                                               "somebody was faster");
    return TRUE;
  }
  if (!GPOINTER_TO_INT(is_mountable)) {
    g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.UDisks2.Error.Failed",
                                               "wrong fs type");
    return TRUE;
  }
  g_mkdir_with_parents(path, 0755);
  udisks_filesystem_set_mount_points(file_system, points);
  udisks_filesystem_complete_mount(file_system, call, path);
  return TRUE;
}

static void export_and_drop(UDisksObjectSkeleton* object) {
  g_dbus_object_manager_server_export(disks, G_DBUS_OBJECT_SKELETON(object));
  g_object_unref(object);
}

static UDisksObjectSkeleton* new_block(const char* path, const char* drive) {
  UDisksObjectSkeleton* object = udisks_object_skeleton_new(path);
  UDisksBlock* block = udisks_block_skeleton_new();
  udisks_block_set_drive(block, drive);
  udisks_object_skeleton_set_block(object, block);
  g_object_unref(block);
  return object;
}

static void insert_partition(const char* name, const char* drive, int number, const char* mounted,
                             gboolean is_mountable, const char* taken) {
  char* path = g_strdup_printf(ROOT "/block_devices/%s%d", name, number);
  UDisksObjectSkeleton* object = new_block(path, drive);
  UDisksFilesystem* file_system = udisks_filesystem_skeleton_new();
  const char* points[] = {mounted, NULL};
  udisks_filesystem_set_mount_points(file_system, points);
  g_object_set_data_full(G_OBJECT(file_system), "path", g_strdup_printf("/run/media/%s%d", name, number),
                         g_free);
  g_object_set_data(G_OBJECT(file_system), "taken", (gpointer)taken);
  g_signal_connect(file_system, "handle-mount", G_CALLBACK(on_mount), GINT_TO_POINTER(is_mountable));
  udisks_object_skeleton_set_filesystem(object, file_system);
  export_and_drop(object);
  g_object_unref(file_system);
  g_free(path);
}

static void insert(char** words) {
  const char* name = words[1];
  char* drive_path = g_strconcat(ROOT "/drives/", name, NULL);
  char* block_path = g_strconcat(ROOT "/block_devices/", name, NULL);
  const char* mounted = NULL;
  int partitions = 1;
  int unmountable = 0;
  const char* taken = NULL;
  UDisksDrive* drive = udisks_drive_skeleton_new();
  udisks_drive_set_connection_bus(drive, "usb");
  udisks_drive_set_removable(drive, TRUE);
  udisks_drive_set_time_detected(drive, (guint64)g_get_real_time());
  for (char** word = words + 2; *word != NULL; ++word) {
    const char* equals = strchr(*word, '=');
    const char* value = equals == NULL ? "" : equals + 1;
    if (g_str_has_prefix(*word, "model=")) {
      udisks_drive_set_model(drive, value);
    } else if (g_str_has_prefix(*word, "vendor=")) {
      udisks_drive_set_vendor(drive, value);
    } else if (g_str_has_prefix(*word, "bus=")) {
      udisks_drive_set_connection_bus(drive, value);
    } else if (g_str_has_prefix(*word, "fixed")) {
      udisks_drive_set_removable(drive, FALSE);
    } else if (g_str_has_prefix(*word, "partitions=")) {
      partitions = atoi(value);
    } else if (g_str_has_prefix(*word, "unmountable=")) {
      unmountable = atoi(value);
    } else if (g_str_has_prefix(*word, "taken")) {
      taken = "yes";
    } else if (g_str_has_prefix(*word, "mounted=")) {
      mounted = value;
    }
  }
  UDisksObjectSkeleton* object = udisks_object_skeleton_new(drive_path);
  udisks_object_skeleton_set_drive(object, drive);
  export_and_drop(object);
  export_and_drop(new_block(block_path, drive_path));
  for (int i = 1; i <= partitions; ++i) {
    insert_partition(name, drive_path, i, mounted, i > unmountable, taken);
  }
  g_object_unref(drive);
  g_free(block_path);
  g_free(drive_path);
}

/* Partitions first, as when it is pulled out. */
static void remove_drive(const char* name) {
  for (int i = 99; i > 0; --i) {
    char* path = g_strdup_printf(ROOT "/block_devices/%s%d", name, i);
    g_dbus_object_manager_server_unexport(disks, path);
    g_free(path);
  }
  char* block = g_strconcat(ROOT "/block_devices/", name, NULL);
  char* drive = g_strconcat(ROOT "/drives/", name, NULL);
  g_dbus_object_manager_server_unexport(disks, block);
  g_dbus_object_manager_server_unexport(disks, drive);
  g_free(drive);
  g_free(block);
}

static gboolean on_command(gint fd, GIOCondition condition, gpointer user_data) {
  char line[256];
  const ssize_t length = read(fd, line, sizeof line - 1);
  (void)condition;
  (void)user_data;
  if (length <= 0) {
    _exit(0);
  }
  line[length] = '\0';
  char* answer = g_strdup("done");
  char** words = g_strsplit(g_strstrip(line), " ", -1);
  if (strcmp(words[0], "insert") == 0) {
    insert(words);
  } else if (strcmp(words[0], "remove") == 0) {
    remove_drive(words[1]);
  } else if (strcmp(words[0], "answers") == 0) {
    stub_answers_set(words[1], words[2]);
  } else if (strcmp(words[0], "mounts") == 0) {
    g_free(answer);
    answer = g_strdup_printf("%d", mounts);
  }
  GDBusConnection* connection = g_dbus_object_manager_server_get_connection(disks);
  say(connection, answer);
  g_object_unref(connection);
  g_strfreev(words);
  g_free(answer);
  return G_SOURCE_CONTINUE;
}

static void on_name(GDBusConnection* connection, const gchar* name, gpointer user_data) {
  (void)user_data;
  say(connection, name);
}

int main(void) {
  static const char* const methods[] = {"GetManagedObjects", "Mount", NULL};
  GError* error = NULL;
  GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, NULL, &error);
  if (connection == NULL) {
    fprintf(stderr, "%s\n", error->message);
    return 1;
  }
  stub_answers_init(connection, methods);
  disks = g_dbus_object_manager_server_new(ROOT);
  g_dbus_object_manager_server_set_connection(disks, connection);
  g_bus_own_name_on_connection(connection, "org.freedesktop.UDisks2", G_BUS_NAME_OWNER_FLAGS_NONE,
                               on_name, NULL, NULL, NULL);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, on_command, NULL);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
  return 0;
}
