#include "CaptureCommands.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <glib.h>
#include <json/value.h>

#include "ExitCodes.h"
#include "KeyWait.h"
#include "Message.h"
#include "Setting.h"
#include "SettingsFile.h"
#include "vconf_keys.h"

namespace {

constexpr unsigned kStartSeconds = 5;
/// The daemon answers when the file is on the stick.
constexpr unsigned kStopSeconds = 20;
constexpr unsigned kLongestWaitSeconds = 3600;

/// What was typed behind a command. CLI11 writes into it while it parses, so it lives on the heap, held
/// by the command's callback.
struct Typed {
  unsigned wait = 0;
  bool as_json = false;
};

int Fail(const std::string& message) {
  Complain(message);
  return exit_codes::kFailed;
}

/// What the status key says.
struct Status {
  std::optional<bool> is_running;        ///< nothing when there is no value that says it
  std::optional<std::string> complaint;  ///< about a value that cannot be used
};

Status ReadStatus() {
  const Setting setting = ReadSetting(vconf_keys::kTcpDumpRunningStatus);
  if (setting.state == Setting::State::kNone) {
    return {};
  }
  if (auto complaint = Complaint(vconf_keys::kTcpDumpRunningStatus, setting)) {
    return {std::nullopt, std::move(complaint)};
  }
  return {g_variant_get_int32(setting.value.get()) != 0, std::nullopt};
}

/// Writes the request and waits until the status is as wished.
/// @param request      what the daemon takes for it
/// @param is_running   the wish
/// @param seconds      0: nobody waits
/// @param has_begun    out: the daemon has taken the request up
/// @param was_granted  out
/// @return an exit code; a wish that was not granted is no failure yet
int Order(int request, bool is_running, unsigned seconds, bool& has_begun, bool& was_granted) {
  // The daemon writes this one before it begins, and the status when it has done what was asked.
  KeyWait begun(vconf_keys::kCaptureTsDump, [&] {
    has_begun = true;
    return false;
  });
  KeyWait done(vconf_keys::kTcpDumpRunningStatus, [=] { return ReadStatus().is_running == is_running; });
  for (const auto* wait : {&begun, &done}) {
    if (wait->Error() != 0) {
      return Fail(std::string("cannot watch the settings: ") + g_strerror(wait->Error()));
    }
  }
  const int error = settings::Write(vconf_keys::kStartStopTcpDump, g_variant_new_int32(request));
  if (error != 0) {
    return Fail(std::string("cannot write ") + vconf_keys::kStartStopTcpDump + ": " +
                settings::PathOf(vconf_keys::kStartStopTcpDump).value_or("") + ": " + g_strerror(error));
  }
  was_granted = seconds == 0 || done.Run(seconds);
  return exit_codes::kDone;
}

int CheckStore(bool may_be_new) {
  if (const auto fault = StoreFault(may_be_new)) {
    Complain(*fault);
    return exit_codes::kUnreachable;
  }
  return exit_codes::kDone;
}

constexpr char kNobody[] = "nobody answered. Is the daemon running?";

int Start(const Typed& typed) {
  if (const int code = CheckStore(true); code != exit_codes::kDone) {
    return code;
  }
  if (ReadStatus().is_running == true) {
    return Fail("a capture runs already (pelorusctl capture stop)");
  }
  bool has_begun = false;
  bool was_granted = false;
  if (const int code = Order(1, true, typed.wait, has_begun, was_granted); code != exit_codes::kDone) {
    return code;
  }
  if (!was_granted) {
    return Fail(has_begun ? "the platform refused to capture" : kNobody);
  }
  if (typed.wait != 0) {
    std::puts("capture started");
  }
  return exit_codes::kDone;
}

int Stop(const Typed& typed) {
  if (const int code = CheckStore(true); code != exit_codes::kDone) {
    return code;
  }
  bool has_begun = false;
  bool was_granted = false;
  if (const int code = Order(0, false, typed.wait, has_begun, was_granted); code != exit_codes::kDone) {
    return code;
  }
  if (!was_granted) {
    return Fail(has_begun ? "the daemon has not stopped it yet" : kNobody);
  }
  if (typed.wait != 0) {
    // The status tells no more: whether the platform refused is on the TV's screen and in the log.
    std::puts("no capture runs any more");
  }
  return exit_codes::kDone;
}

int Show(const Typed& typed) {
  if (const int code = CheckStore(false); code != exit_codes::kDone) {
    return code;
  }
  const Status status = ReadStatus();
  if (status.complaint) {
    return Fail(*status.complaint);
  }
  const bool is_running = status.is_running.value_or(false);
  if (typed.as_json) {
    Json::Value document;
    document["running"] = is_running;
    std::puts(ToLine(document).c_str());
  } else {
    std::puts(is_running ? "running" : "not running");
  }
  return exit_codes::kDone;
}

using Command = int (*)(const Typed& typed);

CLI::App* Add(CLI::App& capture, int& exit_code, const char* name, const char* help,
              const std::shared_ptr<Typed>& typed, Command command) {
  CLI::App* added = capture.add_subcommand(name, help);
  added->callback([&exit_code, typed, command] { exit_code = command(*typed); });
  return added;
}

void AddWait(CLI::App* command, const std::shared_ptr<Typed>& typed, unsigned usual) {
  typed->wait = usual;
  command->add_option("--wait", typed->wait, "Wait so long for the daemon; 0: only ask")
      ->check(CLI::Range(0U, kLongestWaitSeconds))
      ->option_text("SECONDS [" + std::to_string(usual) + "]");
}

}  // namespace

void AddCaptureCommands(CLI::App& app, int& exit_code) {
  CLI::App* capture =
      app.add_subcommand("capture", "Start and stop a capture of the TV's packets, for a USB stick");
  capture->require_subcommand(1);

  const auto starting = std::make_shared<Typed>();
  AddWait(Add(*capture, exit_code, "start", "Start a capture", starting, Start), starting,
          kStartSeconds);

  const auto stopping = std::make_shared<Typed>();
  AddWait(Add(*capture, exit_code, "stop",
              "Stop the capture; the daemon copies its file to the USB stick that was plugged in "
              "first, when it has at most 1 MiB",
              stopping, Stop),
          stopping, kStopSeconds);

  const auto showing = std::make_shared<Typed>();
  Add(*capture, exit_code, "status", "Tell whether a capture runs", showing, Show)
      ->add_flag("--json", showing->as_json, "Print a JSON object");
}
