#include "Commands.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <json/reader.h>
#include <json/writer.h>

#include "PlatformFunctions.h"
#include "VirtualTv.h"

namespace {

constexpr int kLongestLatencyMs = 3'600'000;

/// A request that is refused, with the reason that the client is told.
class Refused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string Text(const Json::Value& request, const char* field) {
  const Json::Value& value = request[field];
  if (!value.isString()) {
    throw Refused(std::string("\"") + field + "\" must be a text");
  }
  return value.asString();
}

int Number(const Json::Value& request, const char* field) {
  const Json::Value& value = request[field];
  if (!value.isInt()) {
    throw Refused(std::string("\"") + field + "\" must be a whole number");
  }
  return value.asInt();
}

[[noreturn]] void RefuseAction(const std::string& what, const std::string& action) {
  throw Refused(what + " cannot \"" + action + "\"");
}

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

void DoLatency(VirtualTv& tv, const Json::Value& request) {
  const std::string kind = Text(request, "kind");
  const int milliseconds = Number(request, "ms");
  if (milliseconds < 0 || milliseconds > kLongestLatencyMs) {
    throw Refused("\"ms\" must be from 0 to " + std::to_string(kLongestLatencyMs));
  }
  if (kind == "cable") {
    tv.SetLatency(VirtualTv::EventKind::kCable, static_cast<unsigned>(milliseconds));
  } else if (kind == "dongle") {
    tv.SetLatency(VirtualTv::EventKind::kDongle, static_cast<unsigned>(milliseconds));
  } else {
    throw Refused("no kind of event \"" + kind + "\"");
  }
}

Json::Value Status(VirtualTv& tv) {
  Json::Value status;
  status["cable"] = tv.GetCable().IsAttached() ? "plugged" : "unplugged";
  status["dongle"] = tv.GetTelephony().HasDongle() ? "inserted" : "removed";
  status["telephony"] = tv.GetTelephony().IsRunning() ? "running" : "stopped";
  status["latency"]["cable"] = tv.LatencyMs(VirtualTv::EventKind::kCable);
  status["latency"]["dongle"] = tv.LatencyMs(VirtualTv::EventKind::kDongle);
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

void Dispatch(VirtualTv& tv, const Json::Value& request, Json::Value& answer) {
  if (!request.isObject()) {
    throw Refused("a request is a JSON object");
  }
  const std::string what = Text(request, "do");
  if (what == "cable") {
    DoCable(tv, request);
  } else if (what == "dongle") {
    DoDongle(tv, request);
  } else if (what == "telephony") {
    DoTelephony(tv, request);
  } else if (what == "feature") {
    DoFeature(tv, request);
  } else if (what == "fail") {
    DoFail(tv, request);
  } else if (what == "stop-failing") {
    tv.StopFailing(PlatformFunction(request));
  } else if (what == "latency") {
    DoLatency(tv, request);
  } else if (what == "status") {
    answer["tv"] = Status(tv);
  } else if (what == "calls") {
    answer["calls"] =
        CallList(request.isMember("function") ? tv.Calls(PlatformFunction(request)) : tv.Calls());
  } else if (what == "clear-calls") {
    tv.ClearCalls();
  } else {
    throw Refused("nothing to do for \"" + what + "\"");
  }
}

Json::Value Refusal(const std::string& why) {
  Json::Value answer;
  answer["ok"] = false;
  answer["error"] = why;
  return answer;
}

}  // namespace

namespace tv_commands {

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
