#include "InternetCommands.h"

#include <string>

#include "CommandRequest.h"
#include "VirtualTv.h"

namespace tv_commands {
namespace {

using Switch = void (Internet::*)(bool);

constexpr Word<Switch> kSteps[] = {
    {"gateway", &Internet::SetGateway},
    {"dns", &Internet::SetDns},
    {"http", &Internet::SetHttp},
};

constexpr Word<Internet::Carrier> kCarriers[] = {
    {"none", Internet::Carrier::kNone},
    {"cable", Internet::Carrier::kCable},
    {"wifi", Internet::Carrier::kWifi},
    {"dongle", Internet::Carrier::kCellular},
};

constexpr int kLongestLeaseSeconds = 1'000'000'000;

}  // namespace

void DoInternet(VirtualTv& tv, const Json::Value& request) {
  Internet& internet = tv.GetInternet();
  const std::string action = Text(request, "action");
  if (action == "set") {
    const Switch step = FromWord(kSteps, "step", Text(request, "step"));
    (internet.*step)(Flag(request, "works"));
  } else if (action == "report") {
    const std::string step = Text(request, "step");
    internet.Report(Number(request, "result"), step);
  } else if (action == "hotspot") {
    internet.SetHotspot(Number(request, "status"));
  } else if (action == "lease") {
    internet.SetLeaseSeconds(Number(request, "seconds", 0, kLongestLeaseSeconds));
  } else {
    RefuseAction("internet", action);
  }
}

Json::Value InternetStatus(VirtualTv& tv) {
  const Internet& internet = tv.GetInternet();
  Json::Value status;
  status["carrier"] = ToWord(kCarriers, internet.GetCarrier());
  status["gateway"] = internet.IsGatewayWorking();
  status["dns"] = internet.IsDnsWorking();
  status["http"] = internet.IsHttpWorking();
  status["hotspot"] = internet.Hotspot();
  status["lease"] = internet.LeaseSeconds();
  return status;
}

}  // namespace tv_commands
