#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <sys/time.h>

/// The newest packets of a capture, as the bytes of a libpcap file behind its header: what is in the
/// ring is the file, and it never grows. Memory that no packet has reached yet is not taken from the
/// system. One thread at a time.
class PacketRing {
 public:
  using Bytes = std::span<const std::uint8_t>;

  /// What a packet takes beside its own bytes.
  static constexpr std::size_t kRecordHeaderBytes = 16;

  /// @param capacity  bytes of all packets with what they take beside
  /// @throw std::bad_alloc
  explicit PacketRing(std::size_t capacity);

  /// Adds a packet, and drops the oldest ones when there is no room for it. One that is larger than the
  /// whole ring is left out.
  /// @param kept    what was captured of the packet
  /// @param length  bytes that it had on the wire
  void Push(const timeval& time, Bytes kept, std::uint32_t length);

  /// The packets, the oldest first, in up to two pieces. Valid until the next Push().
  [[nodiscard]] std::array<Bytes, 2> Pieces() const;

  [[nodiscard]] std::size_t Size() const { return m_size; }
  [[nodiscard]] std::uint64_t Packets() const { return m_packets; }

 private:
  struct RecordHeader {
    std::uint32_t seconds;
    std::uint32_t microseconds;
    std::uint32_t kept;
    std::uint32_t length;
  };
  static_assert(sizeof(RecordHeader) == kRecordHeaderBytes);

  struct Unmap {
    std::size_t size;
    void operator()(std::uint8_t* bytes) const;
  };

  void Append(const void* bytes, std::size_t count);
  void DropOldest();

  std::size_t m_capacity;
  std::unique_ptr<std::uint8_t[], Unmap> m_bytes;
  std::size_t m_begin = 0;  // of the oldest packet
  std::size_t m_size = 0;
  std::uint64_t m_packets = 0;
};
