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

using Getter = const Internet::Addresses& (Internet::*)() const;
using Setter = void (Internet::*)(const Internet::Addresses&);

struct Place {
  Getter get;
  Setter set;
};

constexpr Word<Place> kPlaces[] = {
    {"cable", {&Internet::WiredAddresses, &Internet::SetWiredAddresses}},
    {"dongle", {&Internet::CellularAddresses, &Internet::SetCellularAddresses}},
};

/// What the request does not speak of stays as it is.
void SetAddresses(Internet& internet, const Json::Value& request) {
  const Place place = FromWord(kPlaces, "network", Text(request, "network"));
  Internet::Addresses addresses = (internet.*place.get)();
  if (request.isMember("ipv4")) {
    addresses.ipv4 = Address(request, "ipv4", G_SOCKET_FAMILY_IPV4);
  }
  if (request.isMember("ipv6")) {
    addresses.ipv6 = Address(request, "ipv6", G_SOCKET_FAMILY_IPV6);
  }
  (internet.*place.set)(addresses);
}

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
  } else if (action == "addresses") {
    SetAddresses(internet, request);
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
  for (const auto& [word, place] : kPlaces) {
    const Internet::Addresses& addresses = (internet.*place.get)();
    status["addresses"][std::string(word)]["ipv4"] = addresses.ipv4;
    status["addresses"][std::string(word)]["ipv6"] = addresses.ipv6;
  }
  return status;
}

}  // namespace tv_commands
