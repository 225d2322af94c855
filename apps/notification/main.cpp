#include <chrono>
#include <cstdio>
#include <string>

#include <glib.h>
#include <libintl.h>

#include "Language.h"
#include "Log.h"
#include "Messages.h"
#include "Popup.h"
#include "Terminal.h"

/// Marks a string for xgettext that GLib translates when it prints the help.
#define N_(text) text

namespace {

constexpr char kProgramName[] = "pelorus_notification";
constexpr int kStaySeconds = 5;
constexpr int kLongestStaySeconds = 3600;

/// As scripts see them; the manual page documents them.
enum ExitCode {
  kShown = 0,
  kUsage = 2,  ///< unknown keyword or option, or no keyword
};

int ShowKeyword(const std::string& keyword, const std::string& data, int seconds) {
  const Message* message = FindMessage(keyword);
  if (message == nullptr) {
    NOTIFICATION_LOG(DLOG_ERROR, "unknown keyword: %s", Printable(keyword).c_str());
    return kUsage;
  }
  Popup popup{std::chrono::seconds(seconds)};
  popup.Run(*message, data);
  return kShown;
}

void List() {
  for (const Message& message : AllMessages()) {
    const Text text = Translate(message, "");
    std::printf("%-22s %s - %s\n", message.keyword, text.title.c_str(), text.body.c_str());
  }
}

/// Started by a person, with the program's own name as argument 0.
int RunByHand(int argc, char** argv) {
  gboolean list = FALSE;
  gboolean version = FALSE;
  gint seconds = kStaySeconds;
  const GOptionEntry options[] = {
      {"list", 'l', 0, G_OPTION_ARG_NONE, &list, N_("Print every keyword with its message"), nullptr},
      {"seconds", 's', 0, G_OPTION_ARG_INT, &seconds,
       N_("How long the popup stays after its last message (1 to 3600, otherwise 5)"), "N"},
      {"version", 'V', 0, G_OPTION_ARG_NONE, &version, N_("Print the version"), nullptr},
      {},
  };
  g_autoptr(GOptionContext) context = g_option_context_new(N_("KEYWORD [DATA]"));
  g_option_context_set_summary(context, N_("Shows what the network daemon has to say to the user."));
  g_option_context_add_main_entries(context, options, TEXT_DOMAIN);
  g_option_context_set_translation_domain(context, TEXT_DOMAIN);
  g_autoptr(GError) error = nullptr;
  if (!g_option_context_parse(context, &argc, &argv, &error)) {
    std::fprintf(stderr, "%s: %s\n", kProgramName, error->message);
    return kUsage;
  }
  if (version) {
    std::printf("%s %s\n", kProgramName, PELORUS_VERSION);
    return kShown;
  }
  if (list) {
    List();
    return kShown;
  }
  if (seconds < 1 || seconds > kLongestStaySeconds) {
    std::fprintf(stderr, gettext("%s: --seconds takes 1 to %d\n"), kProgramName, kLongestStaySeconds);
    return kUsage;
  }
  if (argc < 2 || argc > 3) {
    g_autofree char* help = g_option_context_get_help(context, TRUE, nullptr);
    std::fputs(help, stderr);
    return kUsage;
  }
  if (FindMessage(argv[1]) == nullptr) {
    std::fprintf(stderr, gettext("%s: unknown keyword %s; --list prints them all\n"), kProgramName,
                 Printable(argv[1]).c_str());
  }
  return ShowKeyword(argv[1], argc > 2 ? argv[2] : "", seconds);
}

}  // namespace

int main(int argc, char** argv) {
  PrepareTerminal();
  ChooseLanguage();
  const std::string name = argc > 0 ? argv[0] : "";
  g_autofree char* base_name = g_path_get_basename(name.c_str());
  if (std::string(base_name) == kProgramName) {
    return RunByHand(argc, argv);
  }
  return ShowKeyword(name, argc > 1 ? argv[1] : "", kStaySeconds);
}
