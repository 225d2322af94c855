#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "MWHandler.h"
#include "Scan.h"
#include "WifiMonHandler.h"

/// What the fields of one event measure with. Owned by the event's creator.
struct KPIMeasurement {
  MWHandler mw;
  WifiWPSScan scan;
  std::shared_ptr<WifiMonHandler> monitor;  ///< null in an event that has no field of it
};

/// Reads one field of a description.
using KPIField = std::string (*)(KPIMeasurement& measurement);

/// Makes the description of one KPI event: knows its data fields and their order, starts the measurement
/// that they need, and says when that is done. Built for one event by whoever sends it, and destroyed
/// after that, also while a measurement is under way and inside the completion callback. Main-loop
/// thread only.
class IKPICreator {
 public:
  using OnDone = std::function<void(int result)>;

  IKPICreator() = default;
  virtual ~IKPICreator() = default;
  IKPICreator(const IKPICreator&) = delete;
  IKPICreator& operator=(const IKPICreator&) = delete;

  /// Starts the measurement that the event needs.
  /// @return true when it is under way, or there is nothing to measure; false when no event can be made
  virtual bool CreateKPI() = 0;

  /// Starts the measurement and keeps a callback for its end.
  /// @param onDone  called once when the measurement has ended, and never for an event without one; may
  /// be
  ///                empty
  /// @return as CreateKPI(); false without any effect while IsRunning()
  bool Create(OnDone onDone);

  /// The measurement has ended.
  void NotifyOnDone(int result);

  /// Whether a callback waits for the end of the measurement.
  [[nodiscard]] bool IsRunning() const { return m_isRunning; }

  /// The description: the fields as they are now, joined with ";".
  /// @throw std::bad_function_call  when a field is empty
  std::string GetResult();

 protected:
  /// @param fields       in the order of the description
  /// @param measurement  lives as long as this object
  void SetFields(std::span<const KPIField> fields, KPIMeasurement& measurement);

  std::vector<std::function<std::string()>> m_fields;

 private:
  OnDone m_onDone;
  bool m_isRunning = false;
};

/// An event that needs no measurement beforehand.
class CKPIInstantCreator : public IKPICreator {
 protected:
  explicit CKPIInstantCreator(std::span<const KPIField> fields);

  KPIMeasurement m_measurement;
};

/// An event that waits for a pass of the Wi-Fi monitor.
class CKPIMonitorCreator : public IKPICreator {
 public:
  ~CKPIMonitorCreator() override;

 protected:
  explicit CKPIMonitorCreator(std::span<const KPIField> fields);
  /// Ends in NotifyOnDone(). A pass that this creator waits for already is given up.
  void StartMonitor();

  KPIMeasurement m_measurement;

 private:
  void StopMonitor();

  std::optional<LocalHandler> m_waiting;
};

/// "WIFI_ENV" over a cellular connection.
class CKPICellularEV001 : public CKPIInstantCreator {
 public:
  CKPICellularEV001();
  bool CreateKPI() override { return true; }
};

/// "ETHERNET".
class CKPIEthernetEV004 : public CKPIInstantCreator {
 public:
  CKPIEthernetEV004();
  bool CreateKPI() override { return true; }
};

/// "WIFI_ENV": a new network, whose router has a second band.
class CKPIWIFIENV : public CKPIMonitorCreator {
 public:
  CKPIWIFIENV();
  /// @return false without a connected access point, and when its router is not seen to be dual-band; a
  ///         measurement that nobody waits for is under way then
  bool CreateKPI() override;
};

/// "WIFI_RSSI": back in a known network.
class CKPIWIFIRSSI : public CKPIMonitorCreator {
 public:
  CKPIWIFIRSSI();
  /// @return false without a connected access point
  bool CreateKPI() override;
};

/// "WIRELESS_ENVIRONMENT": every three hours.
class CKPIWirelessEnvironmentEV008 : public CKPIMonitorCreator {
 public:
  CKPIWirelessEnvironmentEV008();
  /// @return false without a connected access point
  bool CreateKPI() override;
};

/// "WIFI_BANDSWITCH": how the move to 5 GHz was decided.
class CKPIAWMEV005 : public CKPIInstantCreator {
 public:
  CKPIAWMEV005();
  bool CreateKPI() override;
};

/// "AWM": the player's trouble.
class CKPIAWMEV006 : public CKPIInstantCreator {
 public:
  /// @param reason  an eSwitchRequestType
  explicit CKPIAWMEV006(int reason);
  bool CreateKPI() override;
};

/// An event that other components cause; its fields stand from CreateKPI() on.
class CKPIRelayCreator : public IKPICreator {
 public:
  bool CreateKPI() override;

 protected:
  /// @param fields  outlives this object
  explicit CKPIRelayCreator(std::span<const KPIField> fields) : m_list(fields) {}

 private:
  std::span<const KPIField> m_list;
  KPIMeasurement m_measurement;
};

/// "WIFI_ICON_CLICK": why a Wi-Fi popup or a reconnection came up.
class CKPIWirelessEV008 : public CKPIRelayCreator {
 public:
  CKPIWirelessEV008();
};

/// "WIFI_POP_UP_SELECT": what the user chose in it.
class CKPIWirelessEV009 : public CKPIRelayCreator {
 public:
  CKPIWirelessEV009();
};

/// Not sent by anything yet.
class CKPIWirelessEV010 : public CKPIRelayCreator {
 public:
  CKPIWirelessEV010();
};

/// "MARQUEE_TEST_RESULT": how the connection test ended.
class CKPIWirelessEV011 : public CKPIRelayCreator {
 public:
  CKPIWirelessEV011();
};
