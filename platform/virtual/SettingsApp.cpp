#include "SettingsApp.h"

#include <json/value.h>
#include <json/writer.h>

#include "PlatformLog.h"
#include "SettingsFile.h"
#include "SettingsWatcher.h"
#include "vconf_keys.h"

namespace {

/// Past the gate: the application is another process of the TV, and not the program under the TV.
void Write(const char* key, GVariant* value) {
  if (const int error = settings::Write(key, value); error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot write %s: %s", key, g_strerror(error));
  }
}

void Say(const char* word) {
  Write(vconf_keys::kLaunchNS, settings::FromText(word));
}

}  // namespace

SettingsApp::~SettingsApp() {
  Sleep();
}

int SettingsApp::Watch() {
  if (m_is_watching) {
    return 0;
  }
  const int error = SettingsWatcher::Instance().Watch(vconf_keys::kLaunchNS, OnWritten, this);
  m_is_watching = error == 0;
  return error;
}

void SettingsApp::Sleep() {
  TakeQuestionAway();
  if (m_is_watching) {
    SettingsWatcher::Instance().Ignore(vconf_keys::kLaunchNS, OnWritten);
    m_is_watching = false;
  }
}

void SettingsApp::Open() {
  m_is_open = true;
  Write(vconf_keys::kNetworkAppStatus, g_variant_new_int32(1));
}

void SettingsApp::Close() {
  TakeQuestionAway();
  m_is_open = false;
  Write(vconf_keys::kNetworkAppStatus, g_variant_new_int32(0));
}

bool SettingsApp::Ask() {
  if (!m_is_open) {
    return false;
  }
  m_has_page_changed = false;
  Say("START5GHZCONNECTION");
  return true;
}

bool SettingsApp::Stop() {
  if (!m_is_open) {
    return false;
  }
  TakeQuestionAway();
  Say("STOP5GHZCONNECTION");
  return true;
}

bool SettingsApp::Press(Answer button) {
  if (!m_has_question || button == Answer::kNone) {
    return false;
  }
  TakeQuestionAway();
  Say(button == Answer::kConfirm ? "CONNECTPRESSED" : "CANCELPRESSED");
  return true;
}

bool SettingsApp::Connect(const std::string& essid) {
  return Command("1", &essid);
}

bool SettingsApp::TellForgotten() {
  return Command("2", nullptr);
}

bool SettingsApp::Reset() {
  return Command("3", nullptr);
}

/// @param essid  null for a command without one
bool SettingsApp::Command(const char* number, const std::string* essid) {
  if (!m_is_open) {
    return false;
  }
  Json::Value command;
  command["COMMAND"] = number;
  if (essid != nullptr) {
    command["SSID"] = *essid;
  }
  Json::StreamWriterBuilder writing;
  writing["indentation"] = "";
  Write(vconf_keys::kCommand, settings::FromText(Json::writeString(writing, command).c_str()));
  return true;
}

void SettingsApp::SetAnswer(Answer answer, unsigned delay_ms) {
  m_answer = answer;
  m_delay_ms = delay_ms;
}

void SettingsApp::OnWritten(keynode_t* /*node*/, void* self) {
  if (const auto value = settings::ReadText(vconf_keys::kLaunchNS)) {
    static_cast<SettingsApp*>(self)->OnValue(*value);
  }
}

// One write may be heard twice: the value is read when its turn has come, and may be the next one's.
void SettingsApp::OnValue(std::string_view value) {
  if (!m_is_open) {
    return;
  }
  if (value == "PAGECHANGED") {
    m_has_page_changed = true;
    TakeQuestionAway();
  } else if (value == "SHOWPOPUP" && !m_has_question) {
    m_has_question = true;
    if (m_answer != Answer::kNone) {
      m_coming_answer = m_answer;
      const GSourceFunc answer = [](gpointer self) -> gboolean {
        auto* app = static_cast<SettingsApp*>(self);
        app->m_timer = 0;
        app->Press(app->m_coming_answer);
        return G_SOURCE_REMOVE;
      };
      m_timer = g_timeout_add(m_delay_ms, answer, this);
    }
  }
}

void SettingsApp::TakeQuestionAway() {
  m_has_question = false;
  if (m_timer != 0) {
    g_source_remove(m_timer);
    m_timer = 0;
  }
}
