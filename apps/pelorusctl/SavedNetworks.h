#pragma once

#include <optional>
#include <string>
#include <vector>

/// The saved Wi-Fi networks as the daemon publishes them for the settings application.
namespace saved_networks {

/// What the daemon publishes as the signal of a network that it has not measured yet.
inline constexpr int kNotMeasured = 100;

struct Network {
  std::string ssid;
  std::optional<int> signal;     ///< dBm
  std::optional<int> frequency;  ///< MHz; not known to the list of the top ones
  std::string status;            ///< known to the list of the top ones only, else empty
};

/// Why there is no list, as a sentence for a person, and where to look.
struct Fault {
  std::string complaint;
};

struct List {
  std::vector<Network> networks;  ///< in the order of publication
  std::optional<Fault> fault;     ///< then there are none
};

/// Every saved network, most recently connected first. Their statuses are those of Top().
List All();

/// The networks on the settings application's tile, with their statuses.
List Top();

/// Null when it is not there.
const Network* Find(const List& list, const std::string& ssid);

/// "2.4 GHz", "5 GHz" or "6 GHz".
const char* BandOf(int frequency);

/// "-48 dBm", or "not measured".
std::string SignalText(const Network& network);

}  // namespace saved_networks
