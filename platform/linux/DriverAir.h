#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HeardRadio.h"
#include "Nl80211.h"
#include "ScanQueue.h"

/// What the driver of one Wi-Fi interface hears, and scans with it (nl80211). Which interface that is,
/// is looked up each time, since it may be removed, added and renamed. Main-loop thread only.
class DriverAir final : public Scanner {
 public:
  /// @param name  of the interface; empty: the first one
  void UseInterface(std::string name) { m_name = std::move(name); }

  /// Whether the machine has such an interface.
  [[nodiscard]] bool IsThere() { return FindInterface().has_value(); }
  /// Whether the kernel has refused a scan for want of a privilege.
  [[nodiscard]] bool IsRefused() const { return m_is_refused; }

  /// As the driver knows them; the connected one with its signal and width of this moment.
  [[nodiscard]] std::vector<HeardRadio> Radios();
  /// @return dBm; nullopt when it is not known now
  [[nodiscard]] std::optional<int> Noise(int frequency);

  void Begin(const ScanRequest& request, std::function<void(End)> ended) override;
  void Abort() override;
  void Forget() override;

 private:
  std::optional<Nl80211::Interface> FindInterface();

  std::shared_ptr<Nl80211> m_nl80211;
  std::string m_name;
  bool m_is_refused = false;
};
