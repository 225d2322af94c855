#include "AppCommands.h"

#include <algorithm>
#include <string>
#include <string_view>

#include <glib.h>

#include "CommandRequest.h"
#include "SettingsFile.h"
#include "VirtualTv.h"
#include "vconf_keys.h"

namespace tv_commands {
namespace {

using Answer = SettingsApp::Answer;

constexpr Word<const char*> kPlayerKeys[] = {
    {"buffering", vconf_keys::kStreamingBuffer}, {"lowres", vconf_keys::kStreamingLowRes},
    {"interference", vconf_keys::kNetInterfer},  {"rssi", vconf_keys::kNetRssi},
    {"linkspeed", vconf_keys::kNetLinkSpeed},
};

constexpr Word<Answer> kAnswers[] = {
    {"none", Answer::kNone},
    {"confirm", Answer::kConfirm},
    {"decline", Answer::kDecline},
};

constexpr char kNotOpen[] = "the settings application is not open";

void Require(bool is_so, const char* otherwise) {
  if (!is_so) {
    throw Refused(otherwise);
  }
}

/// The viewer throws a saved network away: the application lets the system forget it, and says so.
void Forget(VirtualTv& tv, const Json::Value& request) {
  const std::string essid = Text(request, "essid");
  Require(tv.GetSettingsApp().IsOpen(), kNotOpen);
  Require(tv.GetWifi().Forget(essid), "there is no such saved network");
  tv.GetSettingsApp().TellForgotten();
}

bool IsPackageId(std::string_view id) {
  return !id.empty() && std::ranges::all_of(id, [](char c) {
    return g_ascii_isalnum(c) || c == '.' || c == '_' || c == '-';
  });
}

}  // namespace

// Past the gate of the platform functions: the player is another process of the TV.
void DoPlayer(VirtualTv& /*tv*/, const Json::Value& request) {
  const char* const key = FromWord(kPlayerKeys, "report", Text(request, "report"));
  const int value = Number(request, "value");
  if (const int error = settings::Write(key, g_variant_new_int32(value)); error != 0) {
    throw Refused(std::string("cannot write ") + key + ": " + g_strerror(error));
  }
}

void DoSettingsApp(VirtualTv& tv, const Json::Value& request) {
  SettingsApp& app = tv.GetSettingsApp();
  const std::string action = Text(request, "action");
  if (action == "open") {
    app.Open();
  } else if (action == "close") {
    app.Close();
  } else if (action == "ask") {
    Require(app.Ask(), kNotOpen);
  } else if (action == "stop") {
    Require(app.Stop(), kNotOpen);
  } else if (action == "connect") {
    Require(app.Connect(Text(request, "essid")), kNotOpen);
  } else if (action == "forget") {
    Forget(tv, request);
  } else if (action == "reset") {
    Require(app.Reset(), kNotOpen);
  } else if (action == "press") {
    const Answer button = FromWord(kAnswers, "button", Text(request, "button"));
    Require(app.Press(button), "there is no question on the screen");
  } else if (action == "answer") {
    const Answer answer = FromWord(kAnswers, "answer", Text(request, "answer"));
    const int delay_ms = request.isMember("ms") ? Number(request, "ms", 0, kLongestTimeMs)
                                                : static_cast<int>(SettingsApp::kDefaultDelayMs);
    app.SetAnswer(answer, static_cast<unsigned>(delay_ms));
  } else {
    RefuseAction("settings-app", action);
  }
}

void DoPackage(VirtualTv& tv, const Json::Value& request) {
  const std::string action = Text(request, "action");
  if (action != "install" && action != "remove") {
    RefuseAction("package", action);
  }
  const std::string id = Text(request, "id");
  Require(IsPackageId(id), "the id of a package is made of letters, digits, '.', '_' and '-'");
  if (action == "install") {
    tv.GetPackages().Install(id);
  } else {
    Require(tv.GetPackages().Remove(id), "it is not installed");
  }
}

void DoSpeaker(VirtualTv& tv, const Json::Value& request) {
  tv.SetSpeakerSelection(Number(request, "selection"));
}

Json::Value PackagesStatus(VirtualTv& tv) {
  Json::Value packages = Json::arrayValue;
  for (const std::string& id : tv.GetPackages().List()) {
    packages.append(id);
  }
  return packages;
}

Json::Value SettingsAppStatus(VirtualTv& tv) {
  const SettingsApp& app = tv.GetSettingsApp();
  Json::Value status;
  status["open"] = app.IsOpen();
  status["question"] = app.HasQuestion();
  status["page-changed"] = app.HasPageChanged();
  status["answer"] = ToWord(kAnswers, app.CurrentAnswer());
  status["answer-ms"] = app.DelayMs();
  return status;
}

}  // namespace tv_commands
