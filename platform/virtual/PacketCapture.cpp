#include "PacketCapture.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <glib.h>

#include "PlatformLog.h"
#include "net_connection.h"

namespace {

/// The head of a file in libpcap's format.
struct FileHeader {
  std::uint32_t magic = 0xa1b2c3d4;  // times in microseconds, numbers in this machine's order
  std::uint16_t major = 2;
  std::uint16_t minor = 4;
  std::int32_t zone = 0;
  std::uint32_t accuracy = 0;
  std::uint32_t longest_packet = 262'144;
  std::uint32_t link_type = 1;  // Ethernet
};

struct PacketHeader {
  std::uint32_t seconds;
  std::uint32_t microseconds;
  std::uint32_t captured_bytes;
  std::uint32_t bytes;
};

static_assert(sizeof(FileHeader) + sizeof(PacketHeader) == PacketCapture::kLeastBytes);

template <class Header>
void Append(std::string& content, const Header& header) {
  content.append(reinterpret_cast<const char*>(&header), sizeof(header));
}

/// @param length  of the packet with its header
void AppendPacket(std::string& content, std::size_t length) {
  // To everybody, from an address that is nobody's, of the type that is for experiments.
  static constexpr std::string_view kEthernet("\xff\xff\xff\xff\xff\xff\x02\0\0\0\0\1\x88\xb5", 14);
  const auto bytes = static_cast<std::uint32_t>(length - sizeof(PacketHeader));
  const std::int64_t now = g_get_real_time();
  Append(content, PacketHeader{static_cast<std::uint32_t>(now / G_USEC_PER_SEC),
                               static_cast<std::uint32_t>(now % G_USEC_PER_SEC), bytes, bytes});
  content += kEthernet.substr(0, bytes);
  content.append(bytes - std::min<std::size_t>(bytes, kEthernet.size()), '\0');
}

std::string FileOf(std::size_t size) {
  constexpr std::size_t kFullPacket = sizeof(PacketHeader) + 1514;
  std::string content;
  content.reserve(size);
  Append(content, FileHeader{});
  while (content.size() < size) {
    const std::size_t rest = size - content.size();
    std::size_t length = std::min(rest, kFullPacket);
    if (rest != length && rest - length < sizeof(PacketHeader)) {
      length = rest - sizeof(PacketHeader);  // or no packet would fit behind it
    }
    AppendPacket(content, length);
  }
  return content;
}

}  // namespace

int PacketCapture::Start() {
  if (m_is_running) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  std::string empty;
  Append(empty, FileHeader{});
  if (!Write(empty)) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  m_is_running = true;
  m_has_ended = false;
  return CONNECTION_ERROR_NONE;
}

int PacketCapture::Stop() {
  if (m_has_ended) {
    m_has_ended = false;
    return CONNECTION_ERROR_NONE;
  }
  if (!m_is_running) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  m_is_running = false;
  return Write(FileOf(m_bytes)) ? CONNECTION_ERROR_NONE : CONNECTION_ERROR_OPERATION_FAILED;
}

bool PacketCapture::EndByItself() {
  if (!m_is_running) {
    return false;
  }
  m_is_running = false;
  m_has_ended = true;
  Write(FileOf(m_bytes));
  return true;
}

bool PacketCapture::Write(const std::string& content) {
  constexpr int kOwner = 0755;
  g_mkdir_with_parents(kDirectory, kOwner);
  g_autoptr(GError) error = nullptr;
  if (g_file_set_contents(kFile, content.data(), static_cast<gssize>(content.size()), &error) == FALSE) {
    PLATFORM_LOG(DLOG_ERROR, "no capture file: %s", error->message);
    return false;
  }
  return true;
}
