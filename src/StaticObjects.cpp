#include "StaticObjects.h"

#include "system_info.h"
#include "vconf_keys.h"

// One file, because only within one file is the order of construction certain.

USB TCPDumpHandler::m_USBAPIObj;

const std::string SOLSTICE_FMS = FEATURE_PROJECTOR_ENGINE_TYPE;

template <>
std::weak_ptr<NetworkMonitor> CNWSingleton<NetworkMonitor>::m_pInstance{};

const std::string RSEUtil::m_RSEVconf = vconf_keys::kRseCommand;
const std::string RSEUtil::m_RSELaunchedVconf = vconf_keys::kEuWifiRegTestMode;

const std::string NetworkTypeVconfKey = vconf_keys::kNetworkType;
const std::string NetworkTypeWired = "Wired";
const std::string NetworkTypeWireless = "Wireless";

const std::string MW_CERT_PATH = "/home/owner/share/connmancertpath/";
const std::string ROOT_CERT_PATH = "/home/owner/share/Root/";
const std::string CLIENT_CERT_PATH = "/home/owner/share/Client/";

template <>
std::weak_ptr<WifiMonHandler> CNWSingleton<WifiMonHandler>::m_pInstance{};

const std::string VCONF_INSTANT_OFF_ON = vconf_keys::kNotifyPelorus;

NetworkTypeKPI g_onwtypeKPI;
CEAPCertUpdate g_oEAPCertUpdate;
CQuillRemoteQRUILauncher g_oRemoteLauncher;
NetworkCaptiveAP g_CaptiveAP;
CTCPDump g_TCPDump;
