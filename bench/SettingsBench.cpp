// The settings store beside dconf: read, write, and the way from a write to the callback of a watcher.
// bench/run starts it twice, inside dbus-run-session: with the "memory/" keys against a dconf whose
// database lies on the same tmpfs, and with the "db/" keys against one on the same disk.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <benchmark/benchmark.h>
#include <dconf.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Medians.h"
#include "Report.h"
#include "SettingsFile.h"
#include "vconf.h"

namespace {

constexpr char kDconfNumber[] = "/pelorus/bench/number";
constexpr char kDconfText[] = "/pelorus/bench/text";
constexpr char kSampleText[] = "a network name of usual length";

struct Keys {
  std::string number;
  std::string text;
};
Keys g_keys;
const char* g_self = nullptr;

std::int64_t NowNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000000000} + now.tv_nsec;
}

DConfClient* Dconf() {
  static DConfClient* const client = dconf_client_new();
  return client;
}

[[noreturn]] void Die(const std::string& text) {
  std::fprintf(stderr, "settings_bench: %s\n", text.c_str());
  std::exit(1);
}

void Require(bool done, const char* what) {
  if (!done) {
    Die(std::string(what) + " failed");
  }
}

using Write = void (*)(int value);

void PelorusWrite(int value) {
  Require(vconf_set_int(g_keys.number.c_str(), value) == VCONF_OK, "vconf_set_int");
}

void DconfWriteSync(int value) {
  Require(dconf_client_write_sync(Dconf(), kDconfNumber, g_variant_new_int32(value), nullptr, nullptr,
                                  nullptr),
          "dconf_client_write_sync");
}

void DconfWriteFast(int value) {
  Require(dconf_client_write_fast(Dconf(), kDconfNumber, g_variant_new_int32(value), nullptr),
          "dconf_client_write_fast");
}

/// Every write stores another value than the last: dconf tells nobody of a write that changes nothing.
int NextValue() {
  static int value = static_cast<int>(getpid());
  return ++value;
}

// Reading

void ReadNumber(benchmark::State& state) {
  PelorusWrite(1);
  for (auto _ : state) {
    int value = 0;
    Require(vconf_get_int(g_keys.number.c_str(), &value) == VCONF_OK && value == 1, "vconf_get_int");
  }
}

void ReadText(benchmark::State& state) {
  Require(vconf_set_str(g_keys.text.c_str(), kSampleText) == VCONF_OK, "vconf_set_str");
  for (auto _ : state) {
    char* value = vconf_get_str(g_keys.text.c_str());
    Require(value != nullptr && std::strcmp(value, kSampleText) == 0, "vconf_get_str");
    std::free(value);
  }
}

/// The calls of the kernel without which no setting that is a file can be read.
void ReadFileOnly(benchmark::State& state) {
  PelorusWrite(1);
  const std::string path = settings::PathOf(g_keys.number.c_str()).value_or("");
  char content[1024];
  for (auto _ : state) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Require(file >= 0 && pread(file, content, sizeof content, 0) == 2, "reading a setting's file");
    close(file);
  }
}

void DconfReadNumber(benchmark::State& state) {
  DconfWriteSync(1);
  for (auto _ : state) {
    g_autoptr(GVariant) value = dconf_client_read(Dconf(), kDconfNumber);
    Require(value != nullptr && g_variant_get_int32(value) == 1, "dconf_client_read");
  }
}

void DconfReadText(benchmark::State& state) {
  Require(dconf_client_write_sync(Dconf(), kDconfText, g_variant_new_string(kSampleText), nullptr,
                                  nullptr, nullptr),
          "dconf_client_write_sync");
  for (auto _ : state) {
    g_autoptr(GVariant) value = dconf_client_read(Dconf(), kDconfText);
    Require(value != nullptr, "dconf_client_read");
    g_autofree char* text = g_strdup(g_variant_get_string(value, nullptr));
    Require(std::strcmp(text, kSampleText) == 0, "dconf_client_read");
  }
}

// Writing

void WriteNumber(benchmark::State& state, Write write) {
  for (auto _ : state) {
    write(NextValue());
  }
  dconf_client_sync(Dconf());
}

// From a write to the watcher's callback

std::int64_t g_called_at = 0;

void OnKeyChanged(keynode_t* /*node*/, void* /*user_data*/) {
  g_called_at = NowNanoseconds();
}

void OnDconfChanged(DConfClient* /*client*/, const char* /*prefix*/, GStrv /*changes*/,
                    const char* /*tag*/, gpointer /*user_data*/) {
  g_called_at = NowNanoseconds();
}

void WatchPelorus() {
  Require(vconf_notify_key_changed(g_keys.number.c_str(), OnKeyChanged, nullptr) == VCONF_OK,
          "vconf_notify_key_changed");
}

void WatchDconf() {
  g_signal_connect(Dconf(), "changed", G_CALLBACK(OnDconfChanged), nullptr);
  dconf_client_watch_sync(Dconf(), kDconfNumber);
}

/// Reads away what earlier writes have sent, so that the next callback belongs to the next write.
void Settle() {
  dconf_client_sync(Dconf());
  for (int i = 0; i < 20; ++i) {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    g_usleep(1000);
  }
}

/// The watcher is this process: the callback comes from its own main loop.
void SameProcess(benchmark::State& state, Write write) {
  static const bool watching = (WatchPelorus(), WatchDconf(), true);
  (void)watching;
  Settle();
  for (auto _ : state) {
    g_called_at = 0;
    const std::int64_t begin = NowNanoseconds();
    write(NextValue());
    while (g_called_at == 0) {
      g_main_context_iteration(nullptr, TRUE);
    }
    state.SetIterationTime(static_cast<double>(g_called_at - begin) * 1e-9);
  }
  Settle();
}

/// A process that watches one of the two stores on a GLib main loop and sends the time of each callback
/// down its standard output.
class Watcher {
 public:
  explicit Watcher(const char* store) {
    int ends[2];
    Require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const std::string option = std::string("--watch=") + store;
    const std::string key = "--key=" + g_keys.number;
    char* arguments[] = {const_cast<char*>(g_self), const_cast<char*>(option.c_str()),
                         const_cast<char*>(key.c_str()), nullptr};
    Require(posix_spawn(&m_pid, "/proc/self/exe", &actions, nullptr, arguments, environ) == 0,
            "posix_spawn");
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_pipe = ends[0];
    Require(Next() == 0, "start of the watcher");
  }
  ~Watcher() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    close(m_pipe);
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// @return when the watcher's next callback ran
  std::int64_t Next() {
    std::int64_t time = -1;
    Require(read(m_pipe, &time, sizeof time) == sizeof time, "reading from the watcher");
    return time;
  }

 private:
  pid_t m_pid = 0;
  int m_pipe = -1;
};

void SendTime() {
  Require(write(STDOUT_FILENO, &g_called_at, sizeof g_called_at) == sizeof g_called_at, "write");
}

int RunWatcher(const std::string& store) {
  if (store == "pelorus") {
    const auto callback = [](keynode_t* node, void* data) {
      OnKeyChanged(node, data);
      SendTime();
    };
    Require(vconf_notify_key_changed(g_keys.number.c_str(), callback, nullptr) == VCONF_OK,
            "vconf_notify_key_changed");
  } else {
    WatchDconf();
    g_signal_connect(Dconf(), "changed", G_CALLBACK(SendTime), nullptr);
  }
  SendTime();
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  return 0;
}

/// The watcher is another process: what a settings store is for.
void OtherProcess(benchmark::State& state, Write write, const char* store) {
  Watcher watcher(store);
  for (auto _ : state) {
    const std::int64_t begin = NowNanoseconds();
    write(NextValue());
    const std::int64_t called_at = watcher.Next();
    if (called_at < begin) {
      Die("a callback came before its write: writes and callbacks are not one to one");
    }
    state.SetIterationTime(static_cast<double>(called_at - begin) * 1e-9);
  }
  dconf_client_sync(Dconf());
}

// Report

void RegisterAll() {
  const auto add_timed = [](const char* name, auto function, auto... arguments) {
    return Medians::Add(name, function, arguments...)->UseManualTime();
  };
  const auto add = [](const char* name, auto function, auto... arguments) {
    return Medians::Add(name, function, arguments...)->UseRealTime();
  };
  add("read int", ReadNumber);
  add("open, read, close", ReadFileOnly);
  add("dconf read int", DconfReadNumber);
  add("read string", ReadText);
  add("dconf read string", DconfReadText);
  add("write", WriteNumber, PelorusWrite);
  add("dconf write_sync", WriteNumber, DconfWriteSync);
  add_timed("to another process", OtherProcess, PelorusWrite, "pelorus");
  add_timed("dconf write_fast to another process", OtherProcess, DconfWriteFast, "dconf");
  add_timed("dconf write_sync to another process", OtherProcess, DconfWriteSync, "dconf");
  add_timed("to the same process", SameProcess, PelorusWrite);
  add_timed("dconf write_sync to the same process", SameProcess, DconfWriteSync);
  add_timed("dconf write_fast to the same process", SameProcess, DconfWriteFast);
}

void PrintReport(const Medians& medians, const std::string& store) {
  report::Heading(("Settings, " + store + "/ keys (medians of 5 repetitions)").c_str());
  const auto ratio = [&](const char* what, const char* ours, const char* theirs, const char* peer) {
    report::Ratio(what, medians[ours], peer, medians[theirs], "us");
  };
  ratio("read int", "read int", "open, read, close", "open, read, close");
  ratio("read int", "read int", "dconf read int", "dconf");
  ratio("read string", "read string", "dconf read string", "dconf");
  ratio("write", "write", "dconf write_sync", "dconf write_sync");
  ratio("write to callback, other process", "to another process", "dconf write_fast to another process",
        "dconf write_fast");
  ratio("write to callback, other process", "to another process", "dconf write_sync to another process",
        "dconf write_sync");
  ratio("write to callback, same process", "to the same process", "dconf write_sync to the same process",
        "dconf write_sync");
  ratio("write to callback, same process", "to the same process", "dconf write_fast to the same process",
        "dconf write_fast (*)");
  std::printf("  (*) a local echo: dconf calls back before the write has left the process\n");

  char text[200];
  const double read = std::max(medians["read int"], medians["read string"]);
  std::snprintf(text, sizeof text, "read of a %s/ key in %.2f us (under 3)", store.c_str(), read);
  report::Target(read < 3, text);
  if (store == "memory") {
    const double other = medians["dconf write_fast to another process"] / medians["to another process"];
    std::snprintf(text, sizeof text,
                  "memory/ write to the callback of another process %.1f times as fast as dconf's "
                  "write_fast (at least 10)",
                  other);
    report::Target(other >= 10, text);
    const double same = medians["dconf write_sync to the same process"] / medians["to the same process"];
    std::snprintf(text, sizeof text,
                  "memory/ write to the callback of the same process %.1f times as fast as dconf's "
                  "write_sync (at least 10)",
                  same);
    report::Target(same >= 10, text);
  }
}

}  // namespace

int main(int argc, char** argv) {
  g_self = argv[0];
  std::string store = "memory";
  std::string watched;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.starts_with("--store=")) {
      store = argument.substr(8);
    } else if (argument.starts_with("--watch=")) {
      watched = argument.substr(8);
    } else if (argument.starts_with("--key=")) {
      g_keys.number = argument.substr(6);
    }
  }
  if (!watched.empty()) {
    return RunWatcher(watched);
  }
  if (store != "memory" && store != "db") {
    Die("--store is memory or db");
  }
  g_keys = {store + "/menu/network/bench_number", store + "/menu/network/bench_text"};
  benchmark::Initialize(&argc, argv);
  RegisterAll();
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  PrintReport(medians, store);
  return 0;
}
