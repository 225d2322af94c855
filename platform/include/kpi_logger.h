#pragma once

#include <string>

/// The platform's KPI logger, which carries measurement records to whoever runs the fleet.
namespace Ledgerline {

/// One object a process, never destroyed. Main-loop thread only.
class CLogger {
 public:
  static CLogger* GetInstance();

  CLogger(const CLogger&) = delete;
  CLogger& operator=(const CLogger&) = delete;

  static constexpr int kSuccess = 1;

  /// Hands one record over, and returns when it is safe from a power cut. The logger does not ask
  /// whether the user agreed to that: the caller does.
  /// @param serviceName  the stream that the record belongs to, such as "21_wireless"
  /// @param eventName    the kind of event, such as "WIFI_ENV"
  /// @param category     the event's code, such as "EV001"
  /// @param description  "{key=value,...}"
  /// @return kSuccess, or a negative errno: the record was not taken and may be given again
  int AddEventLogSync(std::string serviceName, std::string eventName, std::string category,
                      std::string description);

 private:
  CLogger() = default;
};

}  // namespace Ledgerline
