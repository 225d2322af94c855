#include "ScenarioStep.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include <glib.h>
#include <json/reader.h>

#include "ScenarioRequest.h"
#include "SettingsFile.h"
#include "vconf_keys.h"

namespace scenario {
namespace {

using Kind = Step::Kind;

Outcome Done() {
  return {Outcome::Kind::kDone, ""};
}

Outcome Unmet(std::string why) {
  return {Outcome::Kind::kUnmet, std::move(why)};
}

Outcome DoneIf(bool is_so, const std::string& otherwise) {
  return is_so ? Done() : Unmet(otherwise);
}

/// What a hand with an editor, or a failing disk, leaves in a key's file.
Outcome WriteRaw(const Step& step) {
  const auto path = settings::PathOf(step.subject.c_str());
  if (!path) {
    return Unmet("no such key can be");
  }
  g_autofree char* directory = g_path_get_dirname(path->c_str());
  g_mkdir_with_parents(directory, 0775);
  g_autoptr(GError) error = nullptr;
  g_file_set_contents(path->c_str(), step.value.data(), static_cast<gssize>(step.value.size()), &error);
  return DoneIf(error == nullptr, error == nullptr ? "" : error->message);
}

Outcome Set(const Step& step) {
  if (step.type == "raw") {
    return WriteRaw(step);
  }
  GVariant* value = step.type == "int"    ? g_variant_new_int32(*ParseNumber(step.value))
                    : step.type == "bool" ? g_variant_new_boolean(step.value == "true")
                                          : settings::FromText(step.value.c_str());
  const int error = settings::Write(step.subject.c_str(), value);
  return DoneIf(error == 0, g_strerror(error));
}

Outcome ExpectKey(const Step& step) {
  const auto value = ReadKey(step.subject);
  return DoneIf(value == step.value, value ? "it is \"" + *value + "\"" : "it has no value");
}

Outcome ExpectNoKey(const Step& step) {
  const auto value = ReadKey(step.subject);
  return DoneIf(!value, "it is \"" + value.value_or("") + "\"");
}

/// @param document  out: null when it is none
bool ReadJson(const std::string& text, Json::Value& document) {
  std::istringstream stream(text);
  std::string error;
  try {
    return Json::parseFromStream(Json::CharReaderBuilder(), stream, &document, &error);
  } catch (const Json::Exception&) {  // nested too deep
    return false;
  }
}

Outcome ExpectJson(const Step& step) {
  const std::string held = ReadKey(step.subject).value_or("");
  Json::Value document;
  Json::Value expected;
  const bool is_so = ReadJson(step.value, expected) && ReadJson(held, document) && document == expected;
  return DoneIf(is_so, "it is " + (held.empty() ? "nothing" : held));
}

/// What a list of networks says of each.
/// @return nullopt for what is no such list
std::optional<std::vector<std::string>> NetworksIn(const char* key,
                                                   std::string (*describe)(const Json::Value& network)) {
  Json::Value document;
  if (!ReadJson(ReadKey(key).value_or(""), document) || !document.isObject() ||
      document["values"].isArray() == (document["count"] == 0)) {
    return std::nullopt;
  }
  std::vector<std::string> networks;
  for (const Json::Value& network : document["values"]) {
    if (!network.isObject()) {
      return std::nullopt;
    }
    networks.push_back(describe(network));
  }
  return networks;
}

Outcome ExpectNetworks(const Step& step, const char* key,
                       std::string (*describe)(const Json::Value& network)) {
  const auto networks = NetworksIn(key, describe);
  if (!networks) {
    return Unmet("there is no such list");
  }
  std::string shown;
  for (const std::string& network : *networks) {
    shown += " \"" + network + "\"";
  }
  return DoneIf(*networks == step.fragments, shown.empty() ? "it is empty" : "it is" + shown);
}

Outcome ExpectSaved(const Step& step) {
  return ExpectNetworks(step, vconf_keys::kSavedAPList,
                        [](const Json::Value& network) { return network["SSID"].asString(); });
}

Outcome ExpectTop(const Step& step) {
  return ExpectNetworks(step, vconf_keys::kTopSavedAP, [](const Json::Value& network) {
    return network["SSID"].asString() + "=" + network["STATUS"].asString();
  });
}

Outcome AskTv(const Step& step, const Ask& ask) {
  const Json::Value answer = ask(step.request);
  return DoneIf(answer["ok"].asBool(), answer["error"].asString());
}

Outcome ExpectCalls(const Step& step, const Ask& ask) {
  Json::Value request;
  request["do"] = "calls";
  request["function"] = step.subject;
  const Json::Value answer = ask(request);
  if (!answer["ok"].asBool()) {
    return Unmet(answer["error"].asString());
  }
  const int count = static_cast<int>(answer["calls"].size());
  return DoneIf(count == step.count, "it was called " + std::to_string(count) + " times");
}

Outcome ExpectKpi(const Step& step, KpiRecords& records) {
  const auto record = records.Take(step.subject);
  if (!record) {
    return Unmet("none was handed over");
  }
  const bool has_all = std::ranges::all_of(step.fragments, [&](const std::string& fragment) {
    return record->text.find(fragment) != std::string::npos;
  });
  return DoneIf(has_all, "it was " + record->text);
}

Outcome ExpectNoKpi(const Step& step, KpiRecords& records) {
  const auto record = records.Peek(step.subject);
  return DoneIf(!record, record ? record->code + " was handed over: " + record->text : "");
}

Outcome ExpectWifi(const Step& step, const Ask& ask) {
  Json::Value request;
  request["do"] = "status";
  const Json::Value answer = ask(request);
  if (!answer["ok"].asBool()) {
    return Unmet(answer["error"].asString());
  }
  const std::string bssid = answer["tv"]["wifi"]["bssid"].asString();
  return DoneIf(g_ascii_strcasecmp(bssid.c_str(), step.subject.c_str()) == 0,
                bssid.empty() ? "it is connected to none" : "it is connected to " + bssid);
}

}  // namespace

std::optional<std::string> ReadKey(const std::string& key) {
  g_autoptr(GVariant) value = settings::Read(key.c_str());
  if (value == nullptr) {
    return std::nullopt;
  }
  if (auto text = settings::ToText(value)) {
    return text;
  }
  g_autofree char* printed = g_variant_print(value, FALSE);
  return printed;
}

Outcome Play(const Step& step, const Ask& ask, KpiRecords& records) {
  switch (step.kind) {
    case Kind::kTv:
      return AskTv(step, ask);
    case Kind::kSet:
      return Set(step);
    case Kind::kExpectKey:
      return ExpectKey(step);
    case Kind::kExpectNoKey:
      return ExpectNoKey(step);
    case Kind::kExpectCalls:
      return ExpectCalls(step, ask);
    case Kind::kExpectKpi:
      return ExpectKpi(step, records);
    case Kind::kExpectNoKpi:
      return ExpectNoKpi(step, records);
    case Kind::kExpectJson:
      return ExpectJson(step);
    case Kind::kExpectSaved:
      return ExpectSaved(step);
    case Kind::kExpectTop:
      return ExpectTop(step);
    case Kind::kExpectWifi:
      return ExpectWifi(step, ask);
    case Kind::kClosePopup:
    case Kind::kRemovePopupProgram:
    case Kind::kCreateFile:
    case Kind::kExpectPopup:
    case Kind::kExpectNoPopup:
    case Kind::kExpectLog:
    case Kind::kExpectNoLog:
    case Kind::kExpectFile:
    case Kind::kExpectNoFile:
    case Kind::kExpectSoftapManager:
      return {Outcome::Kind::kNotOurs, ""};
  }
  return {Outcome::Kind::kNotOurs, ""};
}

}  // namespace scenario
