#pragma once

#include <memory>
#include <string>

/// The kernel's own network, in a namespace of the test's own: real links that are pulled and plugged.
/// Starts no child process, so that it may be used beside the daemon's code.
namespace network {

/// Leaves the machine's network for an empty one of this process's own, for the rest of its life.
void EnterNamespace();

/// A cable between two new interfaces, both up. To pull it is to take the far end down, which is a port
/// of a switch in the wall and so no wired interface of the TV's.
void AddCable(const std::string& name, const std::string& far_end);

/// A cable whose far end, "far", is in another network. The kernel speaks of it as of hardware: of a
/// carrier that went up to a second after it took the interface for one without.
class DistantCable {
 public:
  explicit DistantCable(const std::string& name);
  ~DistantCable();
  DistantCable(const DistantCable&) = delete;
  DistantCable& operator=(const DistantCable&) = delete;

  void Plug();
  void Pull();

 private:
  class Network;
  const std::unique_ptr<Network> m_network;
};

/// A new interface, up, of a kind that needs no more than that ("bridge").
void Add(const std::string& name, const std::string& kind);

/// A new interface, up, that sits on another one ("macvlan").
void AddOn(const std::string& name, const std::string& kind, const std::string& lower);

/// A new interface, up, whose other side is this process.
/// @param arp_type  ARPHRD_*; ARPHRD_ETHER makes a tap, another one a tun that says to be of this type
/// @return a descriptor; closing it removes the interface
int AddTunnel(const std::string& name, int arp_type);

void Remove(const std::string& name);
void SetUp(const std::string& name, bool is_up);
void Rename(const std::string& name, const std::string& new_name);
/// @param master  empty for none
void SetMaster(const std::string& name, const std::string& master);
/// Hands an interface over to the namespace of another process.
void MoveTo(const std::string& name, int pid);
/// Whether an interface asks and answers who has which address there; as of a machine that has died, but
/// for the carrier.
void SetArp(const std::string& name, bool is_on);
[[nodiscard]] bool HasCarrier(const std::string& name);

/// @return "AA:BB:CC:DD:EE:FF"
[[nodiscard]] std::string HardwareAddress(const std::string& name);

/// @param address        with the length of its prefix: "192.0.2.10/24", "2001:db8::10/64"
/// @param lease_seconds  for how long; 0: for good
void AddAddress(const std::string& name, const std::string& address, unsigned lease_seconds = 0);

/// Default routes out of an interface.
/// @param family   AF_INET or AF_INET6
/// @param gateway  the router's address; empty for a route that names none
void AddDefaultRoute(const std::string& name, int family, unsigned metric,
                     const std::string& gateway = "");
void RemoveDefaultRoute(const std::string& name, int family, unsigned metric,
                        const std::string& gateway = "");
/// Replaces the default route of that family and metric, whatever it led to.
void ReplaceDefaultRoute(const std::string& name, int family, unsigned metric);

}  // namespace network
