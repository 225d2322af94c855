#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "CaptureFile.h"
#include "FileDescriptor.h"
#include "PacketRing.h"
#include "PcapLibrary.h"

/// A capture of the packets of all interfaces, those that appear later included. A thread of its own
/// takes the packets from the kernel into memory, and writes the file at the end: nothing is written to
/// the disk meanwhile, and a capture that a crash cuts short leaves no file that is torn. The thread is
/// the only one to touch the ring and the file. All else belongs to the thread that owns the capture.
class PacketCapture {
 public:
  struct Limits {
    /// The file's size, all included; what is oldest goes first.
    std::size_t file_bytes;
    /// After that the capture ends by itself, and its file is finished.
    std::chrono::milliseconds duration;
  };

  /// @return null when the packets or the file cannot be had; logged
  static std::unique_ptr<PacketCapture> Start(const std::string& directory, const std::string& name,
                                              const Limits& limits);
  /// Ends it and drops the file, when Stop() has not.
  ~PacketCapture();

  /// Ends it, if it still runs: what was sent or received before is in the file. Takes about 0.15
  /// seconds, under the heaviest traffic up to 0.8, and as long as the disk takes to write. At most
  /// once.
  /// @return whether the file is finished
  bool Stop();

  /// Whether packets are still taken; false when it has ended by itself.
  [[nodiscard]] bool IsRunning() const { return m_is_running; }

 private:
  struct Close {
    const PcapLibrary* library = nullptr;
    void operator()(pcap_t* pcap) const { library->close(pcap); }
  };
  using Pcap = std::unique_ptr<pcap_t, Close>;

  PacketCapture(Pcap pcap, std::unique_ptr<CaptureFile> file, const Limits& limits);
  void Run();
  void TakeUntilStopped();
  void TakeTheRest();
  template <class Predicate>
  void TakeUntil(std::chrono::milliseconds limit, Predicate is_done);
  int TakeSome();
  [[nodiscard]] int WriteFile();
  void SetAcceptedBytes(std::uint32_t bytes);
  static void OnPacket(unsigned char* self, const pcap_pkthdr* header, const unsigned char* bytes);

  const PcapLibrary& m_library;
  Pcap m_pcap;
  std::unique_ptr<CaptureFile> m_file;
  Limits m_limits;
  PacketRing m_ring;
  FileDescriptor m_stop;  // becomes readable when the capture is to end
  std::uint64_t m_taken = 0;
  std::atomic<bool> m_is_running{true};
  std::atomic<bool> m_is_dropped{false};  // nobody wants the file any more
  bool m_is_finished = false;             // the file is; read once the thread has ended
  std::thread m_thread;
};
