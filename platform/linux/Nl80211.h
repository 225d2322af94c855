#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>

#include "HeardRadio.h"

struct nl_msg;
struct nl_sock;
struct nlattr;

/// The kernel's interface to Wi-Fi drivers (nl80211), as far as this backend asks it. Each question is
/// one message that the kernel answers at once. Reading takes no privilege, scanning CAP_NET_ADMIN.
/// Main-loop thread only.
class Nl80211 : public std::enable_shared_from_this<Nl80211> {
 public:
  /// @return null when the kernel has no Wi-Fi
  static std::shared_ptr<Nl80211> Open();
  ~Nl80211();
  Nl80211(const Nl80211&) = delete;
  Nl80211& operator=(const Nl80211&) = delete;

  /// A Wi-Fi interface that connects to access points.
  struct Interface {
    int index = 0;
    std::string name;
    int width = 0;  ///< MHz, of the channel in use; 0: none is
  };
  /// @return in the order of their indexes; empty too when the kernel does not answer
  [[nodiscard]] std::vector<Interface> Interfaces();

  /// What the driver has heard lately, as it is: an address may come more than once.
  [[nodiscard]] std::vector<HeardRadio> Results(int index);
  /// @return dBm, of the connected access point; nullopt when there is none
  [[nodiscard]] std::optional<int> StationSignal(int index);
  /// @return dBm; nullopt when the driver has not measured that channel
  [[nodiscard]] std::optional<int> Noise(int index, int frequency);

  /// Begins a scan.
  /// @param frequencies  MHz; empty: all
  /// @param names        an empty one asks everybody
  /// @return 0, or a negative errno: -EBUSY while another scan runs, -EPERM without the privilege,
  ///         -EINVAL also for more names than the driver can ask for
  [[nodiscard]] int TriggerScan(int index, const std::vector<int>& frequencies,
                                const std::vector<std::string>& names);
  /// Ends whatever scan runs.
  /// @return 0, or a negative errno: -ENOENT when none runs
  int AbortScan(int index);

  enum class ScanEvent { kResults, kAborted };
  using ScanHandler = std::function<void(int index, ScanEvent event)>;
  /// Listens to how scans end, anybody's, until StopListening(). The handler may call that, and let go
  /// of this object.
  /// @return false when the kernel refuses; logged
  [[nodiscard]] bool Listen(ScanHandler handler);
  void StopListening();
  [[nodiscard]] bool IsListening() const { return m_events != nullptr; }

 private:
  Nl80211(nl_sock* socket, int family) : m_socket(socket), m_family(family) {}

  using Fill = std::function<void(nl_msg* request)>;
  using Take = std::function<void(nlattr** attributes)>;
  int Ask(int command, int index, int flags, const Fill& fill, const Take& take);
  static gboolean OnReadable(gint fd, GIOCondition condition, gpointer self);
  static int OnEvent(nl_msg* message, void* self);

  nl_sock* m_socket;
  int m_family;
  nl_sock* m_events = nullptr;
  guint m_source = 0;
  ScanHandler m_handler;
  struct Caught {
    int index;
    ScanEvent event;
  };
  std::vector<Caught> m_caught;  // while the socket is read, from which no handler may be called
};
