#include "PacketRing.h"

#include <algorithm>
#include <cstring>
#include <new>

#include <sys/mman.h>

namespace {

/// Not from the heap, which keeps a large block that was freed once for the next one.
std::uint8_t* Map(std::size_t size) {
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  return static_cast<std::uint8_t*>(memory);
}

}  // namespace

PacketRing::PacketRing(std::size_t capacity)
    : m_capacity(capacity), m_bytes(Map(capacity), Unmap{capacity}) {}

void PacketRing::Unmap::operator()(std::uint8_t* bytes) const {
  munmap(bytes, size);
}

void PacketRing::Push(const timeval& time, Bytes kept, std::uint32_t length) {
  const std::size_t needed = kRecordHeaderBytes + kept.size();
  if (needed > m_capacity) {
    return;
  }
  while (m_capacity - m_size < needed) {
    DropOldest();
  }
  const RecordHeader header{static_cast<std::uint32_t>(time.tv_sec),
                            static_cast<std::uint32_t>(time.tv_usec),
                            static_cast<std::uint32_t>(kept.size()), length};
  Append(&header, sizeof header);
  Append(kept.data(), kept.size());
  ++m_packets;
}

std::array<PacketRing::Bytes, 2> PacketRing::Pieces() const {
  const std::size_t first = std::min(m_size, m_capacity - m_begin);
  return {Bytes(m_bytes.get() + m_begin, first), Bytes(m_bytes.get(), m_size - first)};
}

void PacketRing::Append(const void* bytes, std::size_t count) {
  if (count == 0) {
    return;  // and `bytes` may be null
  }
  const auto* source = static_cast<const std::uint8_t*>(bytes);
  const std::size_t end = (m_begin + m_size) % m_capacity;
  const std::size_t first = std::min(count, m_capacity - end);
  std::memcpy(m_bytes.get() + end, source, first);
  std::memcpy(m_bytes.get(), source + first, count - first);
  m_size += count;
}

void PacketRing::DropOldest() {
  RecordHeader header;
  const std::size_t first = std::min(sizeof header, m_capacity - m_begin);
  std::memcpy(&header, m_bytes.get() + m_begin, first);
  std::memcpy(reinterpret_cast<std::uint8_t*>(&header) + first, m_bytes.get(), sizeof header - first);
  const std::size_t count = sizeof header + header.kept;
  m_begin = (m_begin + count) % m_capacity;
  m_size -= count;
  --m_packets;
}
