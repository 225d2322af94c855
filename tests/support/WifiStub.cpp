#include "WifiStub.h"

#include <gtest/gtest.h>

namespace {

std::string TextsOf(const WifiStub::Radio& radio) {
  return " ssid=" + WifiStub::HexOf(radio.ssid) + " security=" + radio.security +
         (radio.passphrase.empty() ? "" : " passphrase=" + WifiStub::HexOf(radio.passphrase)) +
         (radio.is_hidden ? " hidden" : "");
}

}  // namespace

WifiStub::WifiStub()
    : m_program(
          {"/usr/bin/python3", "-X", std::string("pycache_prefix=") + STUB_CACHE, STUB_NETWORK_MANAGER},
          "/run/network-manager.log") {}

void WifiStub::StartBoth() {
  Start(kSupplicant);
  Start(kNetworkManager);
  Do("settle");
}

void WifiStub::PutOnAir(const Radio& radio) {
  Do("radio " + radio.bssid + TextsOf(radio) + " frequency=" + std::to_string(radio.frequency) +
     " signal=" + std::to_string(radio.signal));
}

void WifiStub::Save(const Radio& network, const std::string& options) {
  Do("save" + TextsOf(network) + " " + options);
}

std::string WifiStub::ConnectedBssid() {
  const std::string bssid = Ask("active");
  return bssid == "none" ? "" : bssid;
}

std::string WifiStub::Ask(const std::string& command) {
  return m_program.Ask(command);
}

std::string WifiStub::HexOf(const std::string& text) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const unsigned char byte : text) {
    hex += kDigits[byte >> 4U];
    hex += kDigits[byte & 0xFU];
  }
  return hex;
}

void WifiStub::Do(const std::string& command) {
  EXPECT_EQ(Ask(command), "done") << command << "\n" << m_program.Log();
}
