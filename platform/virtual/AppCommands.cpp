#include "AppCommands.h"

#include <string>

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

void Require(bool is_so, const char* otherwise) {
  if (!is_so) {
    throw Refused(otherwise);
  }
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
    Require(app.Ask(), "the settings application is not open");
  } else if (action == "stop") {
    Require(app.Stop(), "the settings application is not open");
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
