/* The floor under the daemon's way from a cable event to the popup: a program that knows the answers,
 * and does no more of it than what leaves the process. It waits in GLib's main loop, sends the journal
 * as many lines as the daemon does when a cable is plugged in, makes sure that the one setting is still
 * absent that the decision depends on, and starts the program.
 *
 * usage: floor_cable INTERFACE PROGRAM */
#define _GNU_SOURCE
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <glib-unix.h>

#include "cable_events.h"

/* Where the setting would be that the decision depends on. */
static const char kSettings[] = "/run/pelorus/settings/memory";

/* The first comes before the look for the setting. */
static const char* const kLines[] = {
    "NW_LanPopup.cpp: ethernet_state_changed_cb(39) > START",
    "NW_LanPopup.cpp: IsSetupRunning(24) > memory/wizard/wizard_mode == (null)",
    "IgnorePopup.cpp: IsWiredSupported(59) >  Error: Fail to get "
    "com.velanor/featureconf/network.network_support value",
    "IgnorePopup.cpp: IsIgnoreCondition(124) > __IgnoreObj.iTimerCount < _nwpopuptimeout ::0=30",
    "IgnorePopup.cpp: IsIgnoreCondition(127) > IsIgnoreCondition => false]",
    "NW_LanPopup.cpp: IsPopupSupported(32) > SYSTEM_INFO_KEY_LFD_NETWORK_POPUP_SUPPORT returns error",
    "NotiProxy.cpp: HandleChildFork(68) > data==",
};

struct floor {
  int journal;
  int cable;
  int attached;
  const char* program;
};

static int OpenJournal(void) {
  const struct sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/run/systemd/journal/socket"};
  const int journal = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (journal < 0 || connect(journal, (const struct sockaddr*)&address, sizeof address) != 0) {
    return -1;
  }
  return journal;
}

static void Log(int journal, const char* text) {
  static const char kFields[] =
      "PRIORITY=6\nSYSLOG_IDENTIFIER=PELORUS_LOG\nPELORUS_BUFFER=main\nCODE_FILE=NW_LanPopup.cpp\n"
      "CODE_FUNC=ethernet_state_changed_cb\nCODE_LINE=39\nMESSAGE=";
  char line[512];
  const size_t length = strlen(text);
  memcpy(line, kFields, sizeof kFields - 1);
  memcpy(line + sizeof kFields - 1, text, length);
  line[sizeof kFields - 1 + length] = '\n';
  send(journal, line, sizeof kFields + length, MSG_DONTWAIT | MSG_NOSIGNAL);
}

/* Whether anything came into its directory. */
static void LookForSetting(void) {
  static int directory = -1;
  struct stat status;
  if (directory < 0) {
    directory = open(kSettings, O_PATH | O_CLOEXEC);
  }
  fstat(directory, &status);
}

static gboolean OnReadable(gint events, GIOCondition condition, gpointer user_data) {
  (void)condition;
  struct floor* self = user_data;
  char buffer[LINK_EVENT_BYTES];
  const int now = CarrierIn(buffer, (int)recv(events, buffer, sizeof buffer, 0), self->cable);
  if (now < 0 || now == self->attached) {
    return G_SOURCE_CONTINUE;
  }
  self->attached = now;
  Log(self->journal, kLines[0]);
  LookForSetting();
  for (size_t i = 1; i < G_N_ELEMENTS(kLines); ++i) {
    Log(self->journal, kLines[i]);
  }
  StartProgram(self->program, now);
  return G_SOURCE_CONTINUE;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: floor_cable INTERFACE PROGRAM\n");
    return 2;
  }
  const int events = OpenLinkEvents();
  struct floor self = {OpenJournal(), (int)if_nametoindex(argv[1]), -1, argv[2]};
  if (events < 0 || self.journal < 0 || self.cable == 0) {
    perror("floor_cable");
    return 1;
  }
  signal(SIGCHLD, SIG_IGN);
  GSource* source = g_unix_fd_source_new(events, G_IO_IN);
  g_source_set_callback(source, G_SOURCE_FUNC(OnReadable), &self, NULL);
  /* As the daemon does: without it GLib wakes itself up twice an event. */
  g_source_set_can_recurse(source, TRUE);
  g_source_attach(source, NULL);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
}
