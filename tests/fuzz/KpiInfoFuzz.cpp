#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <json/reader.h>
#include <json/value.h>

#include "FuzzStore.h"
#include "VirtualTv.h"
#include "WifiOnOffInfo.h"
#include "dlog.h"
#include "vconf.h"
#include "vconf_keys.h"

// What other components tell of their popups and of the connection test, as whoever may write its
// settings has written it. Whatever it is, the journal has one whole record of it, or none.

/// A line for each input would be nearly all that the fuzzer does.
int __dlog_print(log_id_t /*log*/, int /*priority*/, const char* /*tag*/, const char* /*format*/, ...) {
  return 0;
}

namespace {

/// A TV on a network, whose user has agreed to records, with a journal of its own.
class Room {
 public:
  Room() {
    g_autofree char* path = g_build_filename(g_getenv(settings::kDirectoryVariable), "journal", nullptr);
    m_journal = path;
    g_setenv("PELORUS_KPI_JOURNAL", path, TRUE);
    Require(vconf_set_int(vconf_keys::kDisclaimerAgree, 1) == VCONF_OK);
    VirtualTv::Instance().PlugCable();
  }

  /// What the journal has had since the last look at it.
  [[nodiscard]] std::string TakeJournal() const {
    std::ostringstream text;
    text << std::ifstream(m_journal, std::ios::binary).rdbuf();
    std::remove(m_journal.c_str());
    VirtualTv::Instance().ClearCalls();
    return text.str();
  }

 private:
  std::string m_journal;
};

void RequireOneRecord(const std::string& line, const CWifiOnOffInfo& info) {
  Require(line.find('\n') == line.size() - 1);
  Json::CharReaderBuilder rules;
  Json::CharReaderBuilder::strictMode(&rules.settings_);
  const std::unique_ptr<Json::CharReader> reader(rules.newCharReader());
  Json::Value record;
  Require(reader->parse(line.data(), line.data() + line.size(), &record, nullptr));
  const std::string code = record["code"].asString();
  const std::string description = record["description"].asString();
  Require(g_utf8_validate(description.data(), static_cast<gssize>(description.size()), nullptr) != 0);
  if (code == "EV011") {
    Require(description.starts_with("{execution_method=") && description.ends_with("11ac/5220}"));
  } else if (code == "EV008") {
    Require(description.ends_with(";click_reason=" + std::to_string(info.GetPopupReason()) + "}"));
    Require(info.GetPopupReason() >= 0 && info.GetPopupReason() <= 2);
  } else {
    Require(code == "EV009");
    Require(description.ends_with(";select=" + std::to_string(info.GetPopupSelection()) + "}"));
    Require(info.GetPopupSelection() >= 0 && info.GetPopupSelection() <= 2);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Room room;
  CWifiOnOffInfo& info = *GetWifiOnOffInstance();
  const std::string text(reinterpret_cast<const char*>(data), size);

  info.Execute(text);
  const std::string of_keyword = room.TakeJournal();
  info.SetExecutionMethod("before");
  info.ParseOtherKPIModuleData(text);
  const std::string of_document = room.TakeJournal();

  Require(of_keyword.empty() || of_document.empty());  // no text is both
  if (!of_keyword.empty()) {
    RequireOneRecord(of_keyword, info);
  }
  if (!of_document.empty()) {
    RequireOneRecord(of_document, info);
  } else {
    Require(info.GetExecutionMethod() == "before");
  }
  return 0;
}
