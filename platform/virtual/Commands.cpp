#include "Commands.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include <json/reader.h>
#include <json/writer.h>

#include "AppCommands.h"
#include "CommandRequest.h"
#include "InternetCommands.h"
#include "PlatformFunctions.h"
#include "UsbCommands.h"
#include "VirtualTv.h"
#include "WifiCommands.h"

namespace tv_commands {
namespace {

void DoCable(VirtualTv& tv, const Json::Value& request) {
  const std::string action = Text(request, "action");
  if (action == "plug") {
    tv.PlugCable();
  } else if (action == "unplug") {
    tv.UnplugCable();
  } else if (action == "state") {
    tv.EmitCableState(Number(request, "state"));
  } else {
    RefuseAction("cable", action);
  }
}

void DoDongle(VirtualTv& tv, const Json::Value& request) {
  const std::string action = Text(request, "action");
  if (action == "insert") {
    tv.InsertDongle();
  } else if (action == "remove") {
    tv.RemoveDongle();
  } else {
    RefuseAction("dongle", action);
  }
}

void DoTelephony(VirtualTv& tv, const Json::Value& request) {
  const std::string action = Text(request, "action");
  if (action == "start") {
    tv.StartTelephony();
  } else if (action == "stop") {
    tv.StopTelephony();
  } else {
    RefuseAction("telephony", action);
  }
}

/// What a name in a key file may be made of, so that none can break the file's form.
bool IsFeatureName(std::string_view name) {
  const std::size_t slash = name.rfind('/');
  return !name.empty() && slash != 0 && slash != name.size() - 1 &&
         name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-/") ==
             std::string_view::npos;
}

bool IsFeatureValue(std::string_view value) {
  return std::ranges::all_of(value, [](char c) { return c >= ' ' && c <= '~'; });
}

void DoFeature(VirtualTv& tv, const Json::Value& request) {
  const std::string action = Text(request, "action");
  if (action != "set") {
    RefuseAction("feature", action);
  }
  const std::string name = Text(request, "name");
  const std::string value = Text(request, "value");
  if (!IsFeatureName(name)) {
    throw Refused("not the name of a feature: \"" + name + "\"");
  }
  if (!IsFeatureValue(value)) {
    throw Refused("a feature's value is plain text on one line");
  }
  tv.SetFeature(name, value);
}

std::string PlatformFunction(const Json::Value& request) {
  std::string function = Text(request, "function");
  if (std::ranges::find(kPlatformFunctions, function) == std::end(kPlatformFunctions)) {
    throw Refused("no platform function \"" + function + "\"");
  }
  return function;
}

void DoFail(VirtualTv& tv, const Json::Value& request) {
  const std::string function = PlatformFunction(request);
  const int code = Number(request, "code");
  const int times = request.isMember("times") ? Number(request, "times") : VirtualTv::kForGood;
  if (times < 1 && times != VirtualTv::kForGood) {
    throw Refused("\"times\" must be 1 or more, or -1 for good");
  }
  tv.Fail(function, code, times);
}

constexpr Word<VirtualTv::EventKind> kEventKinds[] = {
    {"cable", VirtualTv::EventKind::kCable},
    {"dongle", VirtualTv::EventKind::kDongle},
    {"scan", VirtualTv::EventKind::kScan},
    {"look", VirtualTv::EventKind::kLook},
    {"connect", VirtualTv::EventKind::kConnect},
    {"address", VirtualTv::EventKind::kAddress},
    {"disconnect", VirtualTv::EventKind::kDisconnect},
    {"report", VirtualTv::EventKind::kReport},
    {"channel-scan", VirtualTv::EventKind::kChannelScan},
    {"wifi-state", VirtualTv::EventKind::kWifiState},
    {"portal", VirtualTv::EventKind::kPortal},
    {"profile", VirtualTv::EventKind::kProfile},
    {"stick", VirtualTv::EventKind::kStick},
};

void DoLatency(VirtualTv& tv, const Json::Value& request) {
  const std::string kind = Text(request, "kind");
  const int milliseconds = Number(request, "ms", 0, kLongestTimeMs);
  tv.SetLatency(FromWord(kEventKinds, "kind", kind), static_cast<unsigned>(milliseconds));
}

void DoDelay(VirtualTv& tv, const Json::Value& request) {
  const std::string kind = Text(request, "kind");
  const int milliseconds = Number(request, "ms", 0, kLongestTimeMs);
  tv.DelayNext(FromWord(kEventKinds, "kind", kind), static_cast<unsigned>(milliseconds));
}

Json::Value Status(VirtualTv& tv) {
  Json::Value status;
  status["cable"] = tv.GetCable().IsAttached() ? "plugged" : "unplugged";
  status["dongle"] = tv.GetTelephony().HasDongle() ? "inserted" : "removed";
  status["telephony"] = tv.GetTelephony().IsRunning() ? "running" : "stopped";
  status["radios"] = RadiosStatus(tv);
  status["wifi"] = WifiStatus(tv);
  status["internet"] = InternetStatus(tv);
  status["settings-app"] = SettingsAppStatus(tv);
  status["packages"] = PackagesStatus(tv);
  status["sticks"] = SticksStatus(tv);
  status["capture"] = CaptureStatus(tv);
  status["speaker"] = tv.SpeakerSelection();
  for (const auto& kind : kEventKinds) {
    status["latency"][std::string(kind.word)] = tv.LatencyMs(kind.value);
  }
  status["features"] = Json::objectValue;
  for (const auto& [key, value] : tv.Features()) {
    status["features"][key] = value;
  }
  status["failing"] = Json::objectValue;
  for (const auto& [function, failure] : tv.Failures()) {
    status["failing"][function]["code"] = failure.code;
    status["failing"][function]["times"] = failure.times;
  }
  return status;
}

Json::Value CallList(const std::vector<VirtualTv::Call>& calls) {
  Json::Value list = Json::arrayValue;
  for (const VirtualTv::Call& call : calls) {
    Json::Value& entry = list.append(Json::objectValue);
    entry["function"] = call.function;
    entry["arguments"] = Json::arrayValue;
    for (const std::string& argument : call.arguments) {
      entry["arguments"].append(argument);
    }
  }
  return list;
}

using Deed = void (*)(VirtualTv& tv, const Json::Value& request, Json::Value& answer);

/// A request that is answered with its being done.
template <void (*deed)(VirtualTv&, const Json::Value&)>
void Just(VirtualTv& tv, const Json::Value& request, Json::Value& /*answer*/) {
  deed(tv, request);
}

void StopFailing(VirtualTv& tv, const Json::Value& request) {
  tv.StopFailing(PlatformFunction(request));
}

void ClearCalls(VirtualTv& tv, const Json::Value& /*request*/) {
  tv.ClearCalls();
}

void TellStatus(VirtualTv& tv, const Json::Value& /*request*/, Json::Value& answer) {
  answer["tv"] = Status(tv);
}

void TellCalls(VirtualTv& tv, const Json::Value& request, Json::Value& answer) {
  answer["calls"] =
      CallList(request.isMember("function") ? tv.Calls(PlatformFunction(request)) : tv.Calls());
}

constexpr Word<Deed> kDeeds[] = {
    {"cable", Just<DoCable>},
    {"dongle", Just<DoDongle>},
    {"telephony", Just<DoTelephony>},
    {"radio", Just<DoRadio>},
    {"wifi", Just<DoWifi>},
    {"internet", Just<DoInternet>},
    {"player", Just<DoPlayer>},
    {"settings-app", Just<DoSettingsApp>},
    {"package", Just<DoPackage>},
    {"speaker", Just<DoSpeaker>},
    {"stick", Just<DoStick>},
    {"capture", Just<DoCapture>},
    {"feature", Just<DoFeature>},
    {"latency", Just<DoLatency>},
    {"delay", Just<DoDelay>},
    {"fail", Just<DoFail>},
    {"stop-failing", Just<StopFailing>},
    {"status", TellStatus},
    {"calls", TellCalls},
    {"clear-calls", Just<ClearCalls>},
};

void Dispatch(VirtualTv& tv, const Json::Value& request, Json::Value& answer) {
  if (!request.isObject()) {
    throw Refused("a request is a JSON object");
  }
  FromWord(kDeeds, "do", Text(request, "do"))(tv, request, answer);
}

Json::Value Refusal(const std::string& why) {
  Json::Value answer;
  answer["ok"] = false;
  answer["error"] = why;
  return answer;
}

}  // namespace

Json::Value Execute(VirtualTv& tv, const Json::Value& request) {
  try {
    Json::Value answer;
    answer["ok"] = true;
    Dispatch(tv, request, answer);
    return answer;
  } catch (const std::exception& e) {
    return Refusal(e.what());
  }
}

std::string Answer(VirtualTv& tv, std::string_view line) {
  Json::CharReaderBuilder reading;
  Json::CharReaderBuilder::strictMode(&reading.settings_);
  const std::unique_ptr<Json::CharReader> reader(reading.newCharReader());
  Json::Value request;
  Json::Value answer;
  std::string error;
  try {
    answer = reader->parse(line.data(), line.data() + line.size(), &request, &error)
                 ? Execute(tv, request)
                 : Refusal("not JSON: " + error);
  } catch (const std::exception& e) {  // nested too deep, for one
    answer = Refusal(std::string("not JSON: ") + e.what());
  }
  Json::StreamWriterBuilder writing;
  writing["indentation"] = "";
  return Json::writeString(writing, answer);
}

}  // namespace tv_commands
