#include "PacketCapture.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>

#include <linux/filter.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "PlatformLog.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// A whole Ethernet frame. The kernel also hands over what a network card is still to cut up, 64 KB at a
/// time: of those the head, or sixteen of them would fill the file.
constexpr std::uint32_t kSnapLength = 2048;
/// The kernel hands over a block of packets when it is full, and at the latest after this time.
constexpr std::chrono::milliseconds kBlockTime = 100ms;
/// Room in the kernel for a tenth of a second of a gigabit, while the thread waits for the processor.
constexpr int kKernelBufferBytes = 8 * 1024 * 1024;
/// At the end: for packets that were received and still wait to be worked off.
constexpr std::chrono::milliseconds kLastIntake = 30ms;
/// And for the kernel to hand over the last block.
constexpr std::chrono::milliseconds kLastBlock = kBlockTime + 100ms;
/// And for the thread to take what had piled up in it.
constexpr std::chrono::milliseconds kLongestRest = 500ms;
constexpr std::chrono::milliseconds kPause = 5ms;
/// Then it looks whether it is to stop: packets may come faster than they are taken, for ever.
constexpr int kPacketsInARow = 4096;

constexpr std::uint32_t kMagic = 0xa1b2c3d4;  // with the time in microseconds

int MillisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 1'000'000));
}

}  // namespace

std::unique_ptr<PacketCapture> PacketCapture::Start(const std::string& directory,
                                                    const std::string& name, const Limits& limits) {
  const PcapLibrary* const library = PcapLibrary::Load();
  if (library == nullptr) {
    return nullptr;
  }
  char why[PCAP_ERRBUF_SIZE] = "";
  Pcap pcap(library->create("any", why), Close{library});
  if (pcap == nullptr) {
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s", why);
    return nullptr;
  }
  library->set_snaplen(pcap.get(), static_cast<int>(kSnapLength));
  library->set_timeout(pcap.get(), static_cast<int>(kBlockTime.count()));
  library->set_buffer_size(pcap.get(), kKernelBufferBytes);
  if (const int result = library->activate(pcap.get()); result < 0) {
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s: %s", library->statustostr(result),
                 library->geterr(pcap.get()));
    return nullptr;
  }
  if (library->setnonblock(pcap.get(), 1, why) != 0) {
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s", why);
    return nullptr;
  }
  std::unique_ptr<CaptureFile> file = CaptureFile::Create(directory, name, limits.file_bytes);
  if (file == nullptr) {
    return nullptr;
  }
  try {
    std::unique_ptr<PacketCapture> capture(new PacketCapture(std::move(pcap), std::move(file), limits));
    return capture->m_thread.joinable() ? std::move(capture) : nullptr;
  } catch (const std::exception& e) {  // no memory, no thread
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s", e.what());
    return nullptr;
  }
}

PacketCapture::PacketCapture(Pcap pcap, std::unique_ptr<CaptureFile> file, const Limits& limits)
    : m_library(*pcap.get_deleter().library),
      m_pcap(std::move(pcap)),
      m_file(std::move(file)),
      m_limits(limits),
      m_ring(limits.file_bytes - sizeof(pcap_file_header)),
      m_stop(eventfd(0, EFD_CLOEXEC)) {
  if (!m_stop.ok()) {
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s", std::strerror(errno));
    return;
  }
  SetAcceptedBytes(kSnapLength);
  // Signals are the main loop's: the daemon's handler for ended programs shall not run here.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    m_thread = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

PacketCapture::~PacketCapture() {
  if (m_thread.joinable()) {
    m_is_dropped = true;
    Stop();
  }
}

bool PacketCapture::Stop() {
  eventfd_write(m_stop.get(), 1);
  m_thread.join();
  return m_is_finished;
}

void PacketCapture::Run() {
  pthread_setname_np(pthread_self(), "capture");
  TakeUntilStopped();
  TakeTheRest();
  if (!m_is_dropped) {
    const int error = WriteFile();
    m_is_finished = error == 0;
    if (error != 0) {
      PLATFORM_LOG(DLOG_ERROR, "the capture is lost: %s", std::strerror(error));
    }
  }
  m_is_running = false;
}

void PacketCapture::TakeUntilStopped() {
  const Clock::time_point end = Clock::now() + m_limits.duration;
  std::array<pollfd, 2> ready{pollfd{m_library.get_selectable_fd(m_pcap.get()), POLLIN, 0},
                              pollfd{m_stop.get(), POLLIN, 0}};
  for (int taken = 0; Clock::now() < end;) {
    poll(ready.data(), ready.size(), taken > 0 ? 0 : MillisecondsUntil(end));
    if (ready[1].revents != 0) {
      return;
    }
    taken = TakeSome();
    if (taken < 0) {
      PLATFORM_LOG(DLOG_ERROR, "the capture ends: %s", m_library.geterr(m_pcap.get()));
      return;
    }
  }
  PLATFORM_LOG(DLOG_INFO, "the capture ends, its time is over");
}

/// The kernel keeps what it has not handed over yet, up to a whole block: those are the packets that
/// somebody who stops at the right moment wants most. The intake ends first, so that the rest is finite.
void PacketCapture::TakeTheRest() {
  TakeUntil(kLastIntake, [](int /*taken*/) { return false; });
  SetAcceptedBytes(0);
  pcap_stat counted{};
  const bool is_counted = m_library.stats(m_pcap.get(), &counted) == 0;
  const auto are_all_taken = [&](int /*taken*/) {
    // In 32 bits, as the kernel counts.
    return is_counted && static_cast<u_int>(m_taken) == counted.ps_recv - counted.ps_drop;
  };
  // A packet of the loopback interface is counted twice and handed over once: then the time ends it.
  TakeUntil(kLastBlock, are_all_taken);
  TakeUntil(kLongestRest, [](int taken) { return taken == 0; });
  PLATFORM_LOG(DLOG_INFO, "captured %llu packets, %u more were lost, kept %llu",
               static_cast<unsigned long long>(m_taken), counted.ps_drop,
               static_cast<unsigned long long>(m_ring.Packets()));
}

/// @param is_done  called with how many packets were taken in a row
template <class Predicate>
void PacketCapture::TakeUntil(std::chrono::milliseconds limit, Predicate is_done) {
  const Clock::time_point end = Clock::now() + limit;
  while (!m_is_dropped && Clock::now() < end) {
    const int taken = TakeSome();
    if (taken < 0 || is_done(taken)) {
      return;
    }
    if (taken == 0) {
      std::this_thread::sleep_for(kPause);
    }
  }
}

/// @return how many; 0 when the kernel has no more, or a negative number when the capture cannot go on
int PacketCapture::TakeSome() {
  return m_library.dispatch(m_pcap.get(), kPacketsInARow, OnPacket,
                            reinterpret_cast<unsigned char*>(this));
}

void PacketCapture::OnPacket(unsigned char* self, const pcap_pkthdr* header,
                             const unsigned char* bytes) {
  auto* capture = reinterpret_cast<PacketCapture*>(self);
  ++capture->m_taken;
  capture->m_ring.Push(header->ts, {bytes, header->caplen}, header->len);
}

int PacketCapture::WriteFile() {
  const pcap_file_header header{kMagic,
                                PCAP_VERSION_MAJOR,
                                PCAP_VERSION_MINOR,
                                0,
                                0,
                                kSnapLength,
                                static_cast<bpf_u_int32>(m_library.datalink(m_pcap.get()))};
  const auto pieces = m_ring.Pieces();
  return m_file->Finish(
      std::array{PacketRing::Bytes(reinterpret_cast<const std::uint8_t*>(&header), sizeof header),
                 pieces[0], pieces[1]});
}

/// @param bytes  how much of each packet the kernel keeps; 0 for no packet
void PacketCapture::SetAcceptedBytes(std::uint32_t bytes) {
  sock_filter accept[] = {BPF_STMT(BPF_RET | BPF_K, bytes)};
  const sock_fprog program{1, accept};
  if (setsockopt(m_library.get_selectable_fd(m_pcap.get()), SOL_SOCKET, SO_ATTACH_FILTER, &program,
                 sizeof program) != 0) {
    PLATFORM_LOG(DLOG_WARN, "the kernel takes no filter: %s", std::strerror(errno));
  }
}
