#pragma once

#include <optional>
#include <string>
#include <vector>

#include "DriverAir.h"
#include "HeardRadio.h"
#include "ScanQueue.h"
#include "SupplicantAir.h"

/// The radios in reach, and the looks that are taken for them, by the Wi-Fi interface that the TV uses.
/// The driver tells what it and others have heard (nl80211); where the kernel has no such interface, or
/// does not let this process scan, the supplicant does the same over D-Bus. The driver comes first,
/// because a scan of the supplicant's may move it to another radio, and because nothing has to be
/// watched at rest: its list is read when somebody asks. Main-loop thread only; one object for the life
/// of the process.
class Air {
 public:
  static Air& Instance();

  void Start();
  /// No answer comes after this.
  void Stop();

  /// What was heard lately, one entry for each address: not what a later look at its channel missed, and
  /// not what nobody heard for half a minute.
  /// @return valid until the next call to this object
  const std::vector<HeardRadio>& Radios();
  /// @param bssid  in upper or lower case
  /// @return null when it is not in reach; valid until the next call to this object
  const HeardRadio* Find(const std::string& bssid);
  /// The radio that the TV is connected to, with its signal of this moment.
  /// @return null when there is none; valid until the next call to this object
  const HeardRadio* Connected();
  /// By how many dB the connected radio's signal exceeds the noise.
  /// @return nullopt when one of them is not known
  std::optional<int> SignalToNoise();

  using Answer = ScanQueue::Answer;

  /// Whether there is anything to scan with.
  [[nodiscard]] bool IsReady();

  /// A scan in its turn.
  /// @param answer  called once, after this returned
  void Scan(ScanRequest request, Answer answer);
  /// Looks at once: whatever scan runs is ended, and one of Scan() among them begins anew afterwards. To
  /// look is to interrupt nothing else: the connection stays. Channels on which not everybody was heard
  /// who should be are looked at twice.
  /// @param frequencies  MHz; empty: all channels
  /// @param name         the bytes of a network's name, to which a hidden one answers; empty: anybody
  /// @param answer       called once, after this returned, with whether the channels were looked at; who
  ///                     was heard has an `age` below the time that this took
  void Look(const std::vector<int>& frequencies, const std::string& name, Answer answer);
  /// As Look(), but asks nobody: stays on each channel for longer than a beacon takes to come. So it
  /// hears also those who do not answer everybody's question.
  void Listen(const std::vector<int>& frequencies, Answer answer);
  /// The TV joins somebody: until ReleaseScans(), and for a few seconds at most, no scan begins, because
  /// the antenna is wanted on one channel. Looks are taken.
  void HoldScans() { m_queue.Hold(); }
  void ReleaseScans() { m_queue.Release(); }

 private:
  Air();
  void OnNetwork();
  void OnSupplicant();
  std::vector<HeardRadio> Heard();
  void NoteNoise();
  bool HasMissed(const ScanRequest& request, gint64 since);
  [[nodiscard]] bool IsInReach(const HeardRadio& heard) const;
  void OnScanned(const ScanRequest& request, gint64 begun_at);

  /// What was looked at last, as far as it is needed to tell who was missed.
  struct Seen {
    ScanRequest request;
    gint64 begun_at;
  };

  /// Scans with what there is.
  class Antenna final : public Scanner {
   public:
    Antenna(DriverAir& driver, SupplicantAir& supplicant) : m_driver(driver), m_supplicant(supplicant) {}
    void Begin(const ScanRequest& request, std::function<void(End)> ended) override;
    void Abort() override;
    void Forget() override;

   private:
    DriverAir& m_driver;
    SupplicantAir& m_supplicant;
  };

  bool m_is_started = false;
  DriverAir m_driver;
  SupplicantAir m_supplicant;
  Antenna m_antenna;
  ScanQueue m_queue;
  std::vector<HeardRadio> m_radios;
  gint64 m_read_at = 0;  // 0: to be read anew
  std::vector<Seen> m_seen;
  int m_noise_frequency = 0;
  int m_noise = 0;  // dBm, of that channel
};
