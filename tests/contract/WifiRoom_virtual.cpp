#include "WifiRoom.h"

#include <cstdlib>

#include "VirtualTv.h"

using namespace std::chrono_literals;

namespace {

Radio::Temper TemperOf(WifiRoom::Answer answer) {
  switch (answer) {
    case WifiRoom::Answer::kLetsIn:
      return Radio::Temper::kAccepts;
    case WifiRoom::Answer::kRefuses:
      return Radio::Temper::kRefuses;
    case WifiRoom::Answer::kNone:
      return Radio::Temper::kSilent;
    case WifiRoom::Answer::kNoAddress:
      return Radio::Temper::kNoAddress;
  }
  std::abort();
}

class VirtualWifiRoom : public WifiRoom {
 public:
  VirtualWifiRoom() {
    using Kind = VirtualTv::EventKind;
    m_tv.SetLatency(Kind::kScan, 60);
    for (const Kind kind : {Kind::kLook, Kind::kConnect, Kind::kAddress, Kind::kDisconnect,
                            Kind::kChannelScan, Kind::kPortal}) {
      m_tv.SetLatency(kind, 20);
    }
  }
  void PutOnAir(const AirRadio& radio) override {
    m_tv.GetWifi().AddRadio({.bssid = radio.bssid,
                             .essid = radio.essid,
                             .is_hidden = radio.is_hidden,
                             .frequency = radio.frequency,
                             .security = radio.security,
                             .passphrase = radio.passphrase,
                             .rssi = radio.is_far ? -70 : -40});
  }
  void TakeOffAir(const std::string& bssid) override { m_tv.GetWifi().RemoveRadio(bssid); }
  void SetAnswer(const std::string& bssid, Answer answer) override {
    m_tv.GetWifi().FindRadio(bssid)->temper = TemperOf(answer);
  }
  void SetPortal(const std::string& bssid, const std::string& url) override {
    m_tv.GetWifi().FindRadio(bssid)->portal_url = url;
  }
  void Save(const AirRadio& radio) override {
    m_tv.GetWifi().Save({radio.essid, radio.security, radio.passphrase});
  }
  [[nodiscard]] bool IsReady() const override { return true; }
  [[nodiscard]] std::chrono::milliseconds LongestRequest() const override { return 1000ms; }
  [[nodiscard]] std::chrono::milliseconds Settling() const override { return 200ms; }

 private:
  VirtualTv& m_tv = VirtualTv::Instance();
};

}  // namespace

std::unique_ptr<WifiRoom> WifiRoom::Enter() {
  return std::make_unique<VirtualWifiRoom>();
}
