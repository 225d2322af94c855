#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "InternetProbe.h"
#include "InternetVerdict.h"
#include "KernelEvents.h"
#include "MainLoopSource.h"
#include "ProbeConfig.h"
#include "WayOut.h"
#include "vconf.h"

/// Watches how far the way to the internet works, and tells each change. The link and the route are
/// heard of from the kernel; what is behind them is probed when the way changes, when the machine wakes
/// up, and then from time to time: while no link leads out, nothing is. Main-loop thread only; lives
/// while somebody wants to know.
class InternetMonitor {
 public:
  /// It may end the monitor.
  using Handler = std::function<void(const InternetVerdict::Report& report)>;

  /// @return null when the kernel gives no events; what is found first is told, and later
  static std::unique_ptr<InternetMonitor> Start(ProbeConfig config, Handler handler);

  ~InternetMonitor();
  InternetMonitor(const InternetMonitor&) = delete;
  InternetMonitor& operator=(const InternetMonitor&) = delete;

  /// What was told last of where the way ends; nullopt before the first.
  [[nodiscard]] std::optional<InternetVerdict::Report> Last() const { return m_verdict.Last(); }

 private:
  InternetMonitor(ProbeConfig config, Handler handler)
      : m_config(std::move(config)), m_handler(std::move(handler)) {}
  bool Open();
  void LookSoon();
  void Look();
  [[nodiscard]] std::chrono::milliseconds SettlingTimeOf(const WayOut& way) const;
  void Adopt(const WayOut& way);
  static void OnPower(keynode_t* node, void* self);
  void Probe();
  void OnProbed(const InternetProbe::Result& result);
  void Tell(const std::vector<InternetVerdict::Report>& reports) const;

  const ProbeConfig m_config;
  const Handler m_handler;
  std::unique_ptr<KernelEvents> m_events;
  std::optional<WayOut> m_way;      // that the verdict is about
  std::optional<WayOut> m_settled;  // that becomes it unless it changes again
  InternetVerdict m_verdict;
  MainLoopSource m_look;
  MainLoopSource m_settling;
  MainLoopSource m_next_probe;
  std::unique_ptr<InternetProbe> m_probe;  // while one runs
};
