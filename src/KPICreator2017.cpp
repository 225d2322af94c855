#include "KPICreator2017.h"

#include <type_traits>
#include <utility>

#include "Log.h"
#include "NewKPI2017.h"

namespace {

/// A data field, given what it measures with.
template <auto GetResult>
std::string Field(KPIMeasurement& measurement) {
  using Function = decltype(GetResult);
  if constexpr (std::is_invocable_v<Function>) {
    return GetResult();
  } else if constexpr (std::is_invocable_v<Function, MWHandler&>) {
    return GetResult(measurement.mw);
  } else if constexpr (std::is_invocable_v<Function, WifiWPSScan&>) {
    return GetResult(measurement.scan);
  } else if constexpr (std::is_invocable_v<Function, MWHandler&, WifiWPSScan&>) {
    return GetResult(measurement.mw, measurement.scan);
  } else {
    return GetResult(measurement.monitor);
  }
}

/// A fixed text. Those of several keys have commas of their own, which stay between the semicolons of
/// the description.
template <const char* text>
std::string Text(KPIMeasurement& /*measurement*/) {
  return text;
}

constexpr char kCellularHead[] =
    "mac=ff-ff-ff;freq=0000;prot=Not/A;bw=00;num=0;slist=;security=1;rssi=000,ntype=3,linkspeed=00,ip=2,"
    "interfer=0";
constexpr char kCellularTail[] =
    "aptype=0,dualap=0,dhcplt=0,lansts=0,mprofile=0,diffmac=0,dualfreq=0,dualrssi=0,dualprot=0,"
    "moduleid=0";
constexpr char kNoAx[] = "axap=0";
constexpr char kSamplePairLists[] =
    "rssis=-62/2427|-65/5220,interferences=35/2427|5/5220,protocols=11n/2427|11ac/5220";

constexpr KPIField kCellularFields[] = {
    Text<kCellularHead>, Field<CEthernetData::GetWired3GIPV6Param>,
    Text<kCellularTail>, Field<COOBEStep::GetResult>,
    Text<kNoAx>,
};

constexpr KPIField kEthernetFields[] = {
    Field<CEthernetData::GetMac>,
    Field<CEthernetData::GetIPType>,
    Field<CEthernetData::GetWired3GIPV6Param>,
    Field<CDhcpLeaseTime::GetResult>,
};

constexpr KPIField kWifiEnvFields[] = {
    Field<SecurityType::GetResult>,   Field<CRSSI::GetResult>,
    Field<NetworkType::GetResult>,    Field<LinkSpeed::GetResult>,
    Field<IPType::GetResult>,         Field<ChannelInterference::GetResult>,
    Field<CIPV6Param::GetResult>,     Field<CHotSpot::GetResult>,
    Field<CDualBand::GetResult>,      Field<CDhcpLeaseTime::GetResult>,
    Field<CLanPortStatus::GetResult>, Field<CSavedMprofile::GetResult>,
    Field<CDiffMacEV001::GetResult>,  Field<CDualFreq::GetResult>,
    Field<CDualRSSI::GetResult>,      Field<CDualProtocol::GetResult>,
    Field<CModuleID::GetResult>,      Field<COOBEStep::GetResult>,
    Field<CWifi680211Ax::GetResult>,
};

constexpr KPIField kWifiRssiFields[] = {
    Field<CRSSI::GetResult>,         Field<CFrequency::GetResult>,
    Field<LinkSpeed::GetResult>,     Field<ChannelInterference::GetResult>,
    Field<IPType::GetResult>,        Field<CIPV6Param::GetResult>,
    Field<CHotSpot::GetResult>,      Field<CMultiProfile::GetResult>,
    Field<SNR::GetResult>,           Field<CEV002Protocol::GetResult>,
    Field<CWifi680211Ax::GetResult>,
};

constexpr KPIField kWirelessEnvironmentFields[] = {
    Field<NetworkType::GetResult>,
    Field<CRSSI::GetResult>,
    Field<ChannelInterference::GetResult>,
    Field<CAppid::GetResult>,
    Field<CWifiMac::GetResult>,
    Field<CFrequency::GetResult>,
    Field<CEV001Protocol::GetResult>,
    Field<CBandWidth::GetResult>,
    Field<SecurityType::GetResult>,
    Field<LinkSpeed::GetResult>,
    Field<IPType::GetResult>,
    Field<CHotSpot::GetResult>,
    Field<CDualBandCachedValue::GetResult>,
    Field<CModuleID::GetResult>,
};

constexpr KPIField kBandSwitchFields[] = {
    Field<C5ghzSwitchReason::GetResult>,
    Field<CDiffMacEV005::GetResult>,
    Field<CRssiApsEv005::GetResult>,
    Field<CInterferencesDualEv005::GetResult>,
    Field<CProtocolsEv005::GetResult>,
    Field<CUserSelection::GetResult>,
    Field<CAppid::GetResult>,
    Field<IPTypeEV005::GetResult>,
    Field<CHotSpot::GetResult>,
    Field<SecurityType::GetResult>,
    Field<CModuleID::GetResult>,
};

/// All but the first, which says why the event is sent.
constexpr KPIField kPlayerTroubleFields[] = {
    Field<NetworkType::GetResult>,
    Field<CRSSIAWM::GetResult>,
    Field<CChannelInterferenceAWM::GetResult>,
    Field<CAppid::GetResult>,
    Field<CWifiMac::GetResult>,
    Field<CFrequency::GetResult>,
    Field<CEV001Protocol::GetResult>,
    Field<CBandWidth::GetResult>,
    Field<SecurityType::GetResult>,
    Field<LinkSpeedEV006::GetResult>,
    Field<IPType::GetResult>,
    Field<CHotSpot::GetResult>,
    Field<CDualBandCachedValue::GetResult>,
    Field<CModuleID::GetResult>,
};

constexpr KPIField kIconClickFields[] = {
    Field<CAppid::GetResult>,
    Field<CHotSpot::GetResult>,
    Field<CWifiIconClickReason::GetResult>,
};

constexpr KPIField kPopupSelectionFields[] = {
    Field<CAppid::GetResult>,
    Field<CHotSpot::GetResult>,
    Field<CWifiOffPopupSelection::GetResult>,
};

constexpr KPIField kEV010Fields[] = {
    Field<CAppid::GetResult>,
    Field<CHotSpot::GetResult>,
};

constexpr KPIField kConnectionTestFields[] = {
    Field<CMarqueeConnectionTestExecutionMethod::GetResult>,
    Field<CMarqueeConnectionTestResult::GetResult>,
    Field<CAppid::GetResult>,
    Field<CHotSpot::GetResult>,
    Text<kSamplePairLists>,
};

}  // namespace

bool IKPICreator::Create(OnDone onDone) {
  if (m_isRunning) {
    return false;
  }
  const bool is_started = CreateKPI();
  if (is_started && onDone) {
    m_onDone = std::move(onDone);
    m_isRunning = true;
  } else {
    m_onDone = nullptr;
  }
  return is_started;
}

void IKPICreator::NotifyOnDone(int result) {
  NW_LOG("[OnDone received => %d]", result);
  m_isRunning = false;
  const OnDone onDone = std::exchange(m_onDone, nullptr);
  if (onDone) {
    onDone(result);  // may end this object
  }
}

std::string IKPICreator::GetResult() {
  std::string description;
  for (const auto& field : m_fields) {
    if (&field != &m_fields.front()) {
      description += ";";
    }
    description += field();
  }
  return description;
}

void IKPICreator::SetFields(std::span<const KPIField> fields, KPIMeasurement& measurement) {
  m_fields.clear();
  for (const KPIField field : fields) {
    m_fields.emplace_back([field, &measurement] { return field(measurement); });
  }
}

CKPIInstantCreator::CKPIInstantCreator(std::span<const KPIField> fields) {
  SetFields(fields, m_measurement);
}

CKPIMonitorCreator::CKPIMonitorCreator(std::span<const KPIField> fields) {
  m_measurement.monitor = CNWSingleton<WifiMonHandler>::GetInstance();
  SetFields(fields, m_measurement);
}

CKPIMonitorCreator::~CKPIMonitorCreator() {
  StopMonitor();
}

void CKPIMonitorCreator::StartMonitor() {
  StopMonitor();
  m_waiting = m_measurement.monitor->Start([this](int result) {
    m_waiting.reset();
    NotifyOnDone(result);
  });
}

void CKPIMonitorCreator::StopMonitor() {
  if (m_waiting) {
    m_measurement.monitor->Stop(*m_waiting);
    m_waiting.reset();
  }
}

CKPICellularEV001::CKPICellularEV001() : CKPIInstantCreator(kCellularFields) {}

CKPIEthernetEV004::CKPIEthernetEV004() : CKPIInstantCreator(kEthernetFields) {}

CKPIWIFIENV::CKPIWIFIENV() : CKPIMonitorCreator(kWifiEnvFields) {}

bool CKPIWIFIENV::CreateKPI() {
  NW_LOG("START");
  if (!m_measurement.mw.TakeConnectedAP()) {
    NW_LOG("[Cannot start CKPIWIFIENV ,no ap connected =>]");
    return false;
  }
  const bool is_scanned = m_measurement.scan.Init(m_measurement.mw.GetAP());
  StartMonitor();
  if (!is_scanned) {
    NW_LOG("WPS Scan fail");
    return false;
  }
  NW_LOG("END");
  return true;
}

CKPIWIFIRSSI::CKPIWIFIRSSI() : CKPIMonitorCreator(kWifiRssiFields) {}

bool CKPIWIFIRSSI::CreateKPI() {
  NW_LOG("START");
  if (!m_measurement.mw.TakeConnectedAP()) {
    NW_LOG("[Cannot start CKPIWIFIENV ,no ap connected =>]");
    return false;
  }
  StartMonitor();
  NW_LOG("END");
  return true;
}

CKPIWirelessEnvironmentEV008::CKPIWirelessEnvironmentEV008()
    : CKPIMonitorCreator(kWirelessEnvironmentFields) {}

bool CKPIWirelessEnvironmentEV008::CreateKPI() {
  if (!m_measurement.mw.TakeConnectedAP()) {
    NW_LOG("[Cannot start EV008 ,no ap connected =>]");
    return false;
  }
  StartMonitor();
  NW_LOG("END");
  return true;
}

CKPIAWMEV005::CKPIAWMEV005() : CKPIInstantCreator(kBandSwitchFields) {}

bool CKPIAWMEV005::CreateKPI() {
  // Without an access point its fields have their fallbacks, and the decision is reported all the same.
  m_measurement.mw.TakeConnectedAP();
  return true;
}

CKPIAWMEV006::CKPIAWMEV006(int reason) : CKPIInstantCreator(kPlayerTroubleFields) {
  m_fields.insert(m_fields.begin(), [reason] { return "lqevent=" + std::to_string(reason); });
}

bool CKPIAWMEV006::CreateKPI() {
  m_measurement.mw.TakeConnectedAP();
  NW_LOG("END");
  return true;
}

bool CKPIRelayCreator::CreateKPI() {
  SetFields(m_list, m_measurement);
  return true;
}

CKPIWirelessEV008::CKPIWirelessEV008() : CKPIRelayCreator(kIconClickFields) {}

CKPIWirelessEV009::CKPIWirelessEV009() : CKPIRelayCreator(kPopupSelectionFields) {}

CKPIWirelessEV010::CKPIWirelessEV010() : CKPIRelayCreator(kEV010Fields) {}

CKPIWirelessEV011::CKPIWirelessEV011() : CKPIRelayCreator(kConnectionTestFields) {}
