#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AutoconnectHold.h"
#include "Radio.h"
#include "WifiAttempt.h"
#include "WifiDeparture.h"
#include "wifi.h"

/// The request to connect the TV's Wi-Fi interface, or to disconnect it, until it is answered. The next
/// of these ends the one before. A radio is looked for first, which interrupts nothing; an attempt to
/// connect that fails ends with the interface connected to nothing and left in peace. Main-loop thread
/// only; one object for the life of the process, because answers of the bus may still come when it is
/// stopped.
///
///     connect: look --> attempt --> connected
///               |         |
///               v         v failed
///           NOT_FOUND   leave --> REFUSED, INVALID_KEY, NO_REPLY, DHCP_FAILED, OPERATION_FAILED
///          (connection
///           untouched)
class WifiConnector {
 public:
  /// @param result  an error of the Wi-Fi interface
  using Answer = std::function<void(int result)>;

  /// Where a connection shall lead: wifi_target_s with texts of its own.
  struct Target {
    std::string name = {};   ///< bytes
    std::string bssid = {};  ///< empty: any radio of the network
    int frequency = 0;       ///< MHz; 0: not known
    wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
    std::optional<std::string> passphrase = {};
  };

  static WifiConnector& Instance();

  void Start();
  /// No answer comes after this.
  void Stop();

  /// Each returns the code that the platform function answers with; the answer comes once, after this
  /// returned, and only after WIFI_ERROR_NONE.
  wifi_error_e Connect(Target target, Answer answer);
  /// Connects to the network of a radio with what is saved of it. Being connected to the network is
  /// answered WIFI_ERROR_ALREADY_EXISTS.
  wifi_error_e ConnectToNetwork(const Radio& radio, Answer answer);
  wifi_error_e Disconnect(const Radio& radio, Answer answer);

 private:
  struct Request {
    std::uint64_t number = 0;
    Answer answer = {};
    Target target = {};
    bool is_for_network = false;     ///< ConnectToNetwork()
    std::vector<int> channels = {};  ///< MHz, that are looked at first
    bool has_listened = false;       ///< and not only asked
    bool is_all_looked_at = false;   ///< all channels were
  };

  WifiConnector() = default;
  void OnNetwork();
  void PutProfilesRight();
  [[nodiscard]] bool IsConnectedTo(const std::string& name, wifi_security_type_e security,
                                   const std::string& bssid) const;
  void Begin(Request request, std::function<void()> step);
  void Abort();
  void RunStep();
  void End(int result);
  void BeginNetwork();
  void Look();
  void LookEverywhere();
  void OnLooked(bool is_done);
  [[nodiscard]] std::function<void(bool is_done)> Looked();
  void Attempt(bool is_hidden);
  void OnAttempted(wifi_error_e result);
  void Leave(std::function<void(bool has_left)> then);
  void Post(std::function<void()> task);
  static gboolean RunPosted(gpointer self);

  bool m_is_started = false;
  std::optional<Request> m_request;
  std::uint64_t m_number = 0;    // of the last request; what is told of older ones is dropped
  std::function<void()> m_step;  // of the request, which waits until an older connection was left
  std::shared_ptr<WifiAttempt> m_attempt;
  std::shared_ptr<WifiDeparture> m_departure;
  AutoconnectHold m_hold;
  std::deque<std::function<void()>> m_posted;
  guint m_posted_source = 0;
};
