#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "wifi.h"

/// The air around a backend's TV, and the hands that put radios on it. A porter whose platform has Wi-Fi
/// writes one for their own backend; the tests know nothing else of it. One a process. When it is built
/// there is no radio, the TV has no network saved and is connected to none, and the platform is not
/// started.
class WifiRoom {
 public:
  static std::unique_ptr<WifiRoom> Enter();
  virtual ~WifiRoom() = default;

  struct AirRadio {
    std::string bssid;
    std::string essid;
    int frequency = 2437;
    wifi_security_type_e security = WIFI_SECURITY_TYPE_WPA2_PSK;  ///< or WIFI_SECURITY_TYPE_NONE
    std::string passphrase = {};
    bool is_hidden = false;
    bool is_far = false;  ///< received more weakly than those that are not
  };
  virtual void PutOnAir(const AirRadio& radio) = 0;
  virtual void TakeOffAir(const std::string& bssid) = 0;

  /// How a radio answers a TV that wants in.
  enum class Answer {
    kLetsIn,  ///< until it is set, and the TV is given an IPv4 address there
    kRefuses,
    kNone,       ///< on the air, and silent
    kNoAddress,  ///< lets it in, and gives no address
  };
  virtual void SetAnswer(const std::string& bssid, Answer answer) = 0;

  /// Lets a radio show a page of its own in place of the internet.
  /// @param url  empty: none, as until it is set
  virtual void SetPortal(const std::string& bssid, const std::string& url) = 0;

  /// As by an earlier connection, but that nothing is known of where it was.
  virtual void Save(const AirRadio& radio) = 0;

  /// Whether the platform, which has been started, has found its Wi-Fi.
  [[nodiscard]] virtual bool IsReady() const = 0;

  /// The longest that a request takes from the call to the callback, where radios answer.
  [[nodiscard]] virtual std::chrono::milliseconds LongestRequest() const = 0;
  /// How long a test waits to see that nothing more comes.
  [[nodiscard]] virtual std::chrono::milliseconds Settling() const = 0;
};
