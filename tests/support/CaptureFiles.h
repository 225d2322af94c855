#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// What a capture left behind, and the traffic that it had to catch.
namespace capture {

inline constexpr char kDirectory[] = "/opt/usr/data/network";
inline constexpr char kFile[] = "/opt/usr/data/network/tcpdump-[time].pcap";
inline constexpr std::size_t kLargestFile = 1024 * 1024;

/// Packets of 1000 bytes that no file has room for, but the kernel has, on all interfaces together: so
/// none is lost when the capture does not get the processor for a while.
inline constexpr std::uint32_t kMoreThanAFile = 1500;

/// What a Sender sends to, unless it is told otherwise; SentNumbers() finds that.
inline constexpr std::uint16_t kPort = 4711;

using Numbers = std::vector<std::uint32_t>;

/// 0, 1, ... count - 1
[[nodiscard]] Numbers FirstNumbers(std::uint32_t count);

/// Sends numbered packets out of an interface that has an address, to everybody in its network.
class Sender {
 public:
  /// @param address  of the interface
  /// @param size     of what is in each packet, at least 4
  explicit Sender(const std::string& address, std::uint16_t port = kPort, std::size_t size = 100);
  ~Sender();
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  /// The numbers go on from one call to the next. Waits for no more than room in the interface's queue.
  void Send(std::uint32_t count);

 private:
  int m_socket;
  std::uint32_t m_next = 0;
  std::string m_packet;
};

/// Reads a file as libpcap does, to its end, and gives the numbers of the packets that a Sender sent, in
/// their order, once for each interface that they left through. Fails the test when the file is not
/// whole.
[[nodiscard]] Numbers SentNumbers(const std::filesystem::path& file = kFile);

/// Plugs a cable in, and waits until the interface sends what it is given: some time passes before the
/// kernel begins, and until then it drops packets and says nothing.
void AddCableInUse(const std::string& name, const std::string& far_end, const std::string& address);

/// How many packets came in at an interface.
[[nodiscard]] std::uint64_t ReceivedBy(const std::string& interface);

/// The names in a directory, sorted.
[[nodiscard]] std::vector<std::string> NamesIn(const std::filesystem::path& directory = kDirectory);

}  // namespace capture
