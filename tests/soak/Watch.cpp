#include "Watch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include <glib.h>
#include <json/reader.h>
#include <signal.h>
#include <unistd.h>

#include "KpiJournal.h"
#include "VirtualTv.h"
#include "dlog.h"
#include "vconf_keys.h"

namespace {

soak::Report* g_report = nullptr;

/// The log's last lines. A signal handler and other threads write too, each into a place of its own.
constexpr std::size_t kKeptLines = 256;
constexpr std::size_t kLineBytes = 320;
std::array<std::array<char, kLineBytes>, kKeptLines> g_lines;
std::atomic<std::size_t> g_line_count{0};

pid_t g_popup = 0;
std::string g_keyword;

bool IsUp(pid_t pid) {
  return pid != 0 && kill(pid, 0) == 0;
}

/// What the JSON library says of a document that another program has written.
bool IsExpectedException(std::string_view line) {
  return line.find("Json::Value") != std::string_view::npos ||
         line.find("not convertible to") != std::string_view::npos;
}

bool Parse(const std::string& text, Json::Value& document) {
  std::string error;
  Json::CharReaderBuilder reading;
  Json::CharReaderBuilder::strictMode(&reading.settings_);
  const std::unique_ptr<Json::CharReader> reader(reading.newCharReader());
  return reader->parse(text.data(), text.data() + text.size(), &document, &error) && document.isObject();
}

/// A list of networks as the settings screen reads it, of at most so many; a factory reset leaves "".
bool IsNetworkList(const std::string& text, Json::ArrayIndex most) {
  Json::Value list;
  if (text.empty()) {
    return true;
  }
  if (!Parse(text, list) || !list["count"].isInt()) {
    return false;
  }
  const auto count = static_cast<Json::ArrayIndex>(list["count"].asInt());
  const bool has_values = count > 0 ? list["values"].isArray() : !list.isMember("values");
  return count <= most && has_values && list["values"].size() == count &&
         std::ranges::all_of(list["values"], [](const Json::Value& network) {
           return network["SSID"].isString() && network["SIGNAL_STRENGTH"].isInt();
         });
}

template <class... Words>
std::function<bool(const std::string&)> OneOf(Words... words) {
  return [=](const std::string& value) { return ((value == words) || ...); };
}

bool IsAnything(const std::string& /*value*/) {
  return true;
}

struct Rule {
  const char* key;
  std::function<bool(const std::string&)> is_allowed;
};

/// All that the daemon may write.
const std::vector<Rule>& Rules() {
  using namespace vconf_keys;
  static const std::vector<Rule> rules = {
      {kSavedAPList, [](const std::string& text) { return IsNetworkList(text, 1000); }},
      {kTopSavedAP, [](const std::string& text) { return IsNetworkList(text, 2); }},
      {kApName, IsAnything},
      {kConnectedApBssid, IsAnything},
      {kDualBandApMac, IsAnything},
      {kAuto5GhzSwitchSettings, OneOf("0", "1")},
      {kInternetStatus, OneOf("ONLINE", "OFFLINE")},
      {kLaunchNS, OneOf("SHOWPOPUP", "PAGECHANGED")},
      {kNetworkAppStatus, OneOf("0")},
      {kPelorusCommand,
       OneOf("ethernet_attached", "ethernet_detached", "dongle_attached", "dongle_detached", "captiveap",
             "quillhotspot", "vesta_networksettings", "cannot_connect", "StartTCPDump", "StopTCPDump",
             "TCPDumpAlreadyRunning", "TCPDumpFailToStart", "TCPDumpFailToStop")},
      {kTcpDumpRunningStatus, OneOf("0", "1")},
      {kCaptureTsDump, OneOf("0", "1")},
      {kEuWifiRegTestMode, OneOf("true", "false")},
  };
  return rules;
}

void LookAtWrite(const VirtualTv::Call& call) {
  if (call.arguments.size() < 2) {
    return;
  }
  const auto& rules = Rules();
  const auto rule =
      std::ranges::find_if(rules, [&](const Rule& known) { return call.arguments[0] == known.key; });
  if (rule == rules.end()) {
    watch::Fail("foreign key", "the daemon wrote " + call.arguments[0] + " = " + call.arguments[1]);
  }
  if (!rule->is_allowed(call.arguments[1])) {
    watch::Fail("bad value", "the daemon wrote " + call.arguments[0] + " = " + call.arguments[1]);
  }
}

/// The kernel lets the daemon go on a moment before the program has its arguments.
std::string ArgumentZero(pid_t pid) {
  std::string argument;
  for (int looks = 0; looks < 1000 && argument.empty(); ++looks) {
    std::ifstream command("/proc/" + std::to_string(pid) + "/cmdline");
    if (!std::getline(command, argument, '\0')) {
      usleep(100);
    }
  }
  return argument;
}

/// What the daemon says right after it has tried to start a notification program.
void LookAtStart(const char* line) {
  int result = 0;
  pid_t pid = 0;
  if (std::sscanf(line, "NotiProxy.cpp: HandleChildFork(%*d) > posix_spawn ret %d pid %d", &result,
                  &pid) != 2) {
    return;
  }
  const std::string keyword = result == 0 ? ArgumentZero(pid) : "";
  if (result == 0 && IsUp(g_popup)) {
    watch::Fail("two popups", keyword + " while " + g_keyword + " is up");
  }
  soak::Mix(*g_report, "popup " + keyword);
  if (result == 0) {
    g_popup = pid;
    g_keyword = keyword;
    ++g_report->popups;
  }
}

}  // namespace

int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* tag, const char* format, ...) {
  const std::size_t place = g_line_count.fetch_add(1) % kKeptLines;
  char* const line = g_lines[place].data();
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, kLineBytes, format, arguments);
  va_end(arguments);
  const char* const exception = std::strstr(line, "xception");
  if (g_report != nullptr && exception != nullptr && !IsExpectedException(line)) {
    watch::Fail("exception", std::string(tag) + ": " + line);
  }
  if (g_report != nullptr) {
    LookAtStart(line);
  }
  return length;
}

/// What is written at random shall not be run as a command, on whatever model.
extern "C" int system(const char* command) {
  watch::Fail("shell command", command == nullptr ? "" : command);
}

namespace watch {

void Start(soak::Report& report) {
  g_report = &report;
}

void Fail(const std::string& kind, const std::string& details) {
  if (g_report != nullptr) {
    soak::Fail(*std::exchange(g_report, nullptr), kind, details);
  }
  if (IsUp(g_popup)) {
    kill(g_popup, SIGKILL);
  }
  _exit(EXIT_FAILURE);
}

void LookAtCalls() {
  VirtualTv& tv = VirtualTv::Instance();
  std::string before;
  for (const VirtualTv::Call& call : tv.Calls()) {
    ++g_report->calls;
    std::string text = call.function;
    for (const std::string& argument : call.arguments) {
      text += '\x1F' + argument;
    }
    soak::Mix(*g_report, text);
    if (before == "connection_create" && call.function == "connection_profile_start_tcpdump") {
      ++g_report->captures;
    } else if (before == "connection_profile_get_tcpdump_state" &&
               call.function == "connection_destroy") {
      --g_report->captures;
    }
    before = call.function;
    if (call.function.starts_with("vconf_set_")) {
      LookAtWrite(call);
    }
  }
  tv.ClearCalls();
}

std::size_t LookAtJournal() {
  const std::string path = kpi_journal::Path();
  std::ifstream journal(path, std::ios::binary);
  std::size_t records = 0;
  for (std::string line; std::getline(journal, line); ++records) {
    Json::Value record;
    if (journal.eof() || !Parse(line, record)) {
      Fail("broken journal", line);
    }
    soak::Mix(*g_report, record["code"].asString() + record["description"].asString());
  }
  std::error_code none;
  std::filesystem::remove(path, none);  // as whoever carries the records on does
  g_report->records += records;
  return records;
}

pid_t PopupUp() {
  return IsUp(g_popup) ? g_popup : 0;
}

std::string TakeKeyword() {
  return std::exchange(g_keyword, "");
}

bool ClosePopup() {
  if (!IsUp(g_popup)) {
    return false;
  }
  kill(g_popup, SIGTERM);
  constexpr useconds_t kLookEveryUs = 200;
  constexpr int kMostLooks = 100'000;
  for (int looks = 0; IsUp(g_popup); ++looks) {
    if (looks == kMostLooks) {
      Fail("zombie", "the daemon does not reap the notification program");
    }
    usleep(kLookEveryUs);
  }
  g_popup = 0;
  return true;
}

void DumpLog() {
  const std::size_t count = g_line_count;
  for (std::size_t i = count < kKeptLines ? 0 : count - kKeptLines; i < count; ++i) {
    dprintf(STDERR_FILENO, "  log: %s\n", g_lines[i % kKeptLines].data());
  }
}

}  // namespace watch
