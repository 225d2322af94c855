#pragma once

#include <cstddef>
#include <string>

/// The TV's capture of the packets of all its networks, and the file that comes of it: packets without a
/// meaning, as many as make the size that was set. Owned by VirtualTv; main-loop thread only.
class PacketCapture {
 public:
  static constexpr char kDirectory[] = "/opt/usr/data/network";
  static constexpr char kFile[] = "/opt/usr/data/network/tcpdump-[time].pcap";

  /// A file's header and an empty packet.
  static constexpr std::size_t kLeastBytes = 40;
  static constexpr std::size_t kMostBytes = std::size_t{64} * 1024 * 1024;
  static constexpr std::size_t kDefaultBytes = 4096;

  /// @return a connection_error_e
  int Start();
  int Stop();
  [[nodiscard]] bool IsRunning() const { return m_is_running; }

  /// The platform has enough: the capture ends by itself, with its file whole.
  /// @return false when none runs
  bool EndByItself();

  /// For the files that are finished from now on.
  /// @param bytes  from kLeastBytes to kMostBytes
  void SetFileSize(std::size_t bytes) { m_bytes = bytes; }
  [[nodiscard]] std::size_t FileSize() const { return m_bytes; }

 private:
  /// @return whether it was written
  static bool Write(const std::string& content);

  std::size_t m_bytes = kDefaultBytes;
  bool m_is_running = false;
  bool m_has_ended = false;  // by itself, and nobody has stopped it since
};
