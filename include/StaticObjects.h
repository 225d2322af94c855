#pragma once

#include <string>

#include "CTCPDump.h"
#include "EAPCertUpdate.h"
#include "NetworkCaptiveAP.h"
#include "NetworkMonitor.h"
#include "NetworkTypeKPILogs.h"
#include "QuillRemoteQRUILauncher.h"
#include "RSEUtil.h"
#include "TCPDumpHandler.h"
#include "WifiMonHandler.h"

/// The objects of the process that exist before main() and end after it, all defined in
/// StaticObjects.cpp, in the order in which they are built.

// TCPDumpHandler::m_USBAPIObj, declared in TCPDumpHandler.h

extern const std::string SOLSTICE_FMS;  ///< feature key of a projector's engine type

// CNWSingleton<NetworkMonitor>::m_pInstance, declared in NetworkMonitor.h

extern const std::string NetworkTypeVconfKey;
extern const std::string NetworkTypeWired;     ///< value of NetworkTypeVconfKey
extern const std::string NetworkTypeWireless;  ///< value of NetworkTypeVconfKey

extern const std::string MW_CERT_PATH;      ///< where the connection manager looks for certificates
extern const std::string ROOT_CERT_PATH;    ///< where root certificates are installed
extern const std::string CLIENT_CERT_PATH;  ///< where client certificates are installed

// CNWSingleton<WifiMonHandler>::m_pInstance, declared in WifiMonHandler.h

extern const std::string VCONF_INSTANT_OFF_ON;  ///< key of the power manager's word to the daemon

extern NetworkTypeKPI g_onwtypeKPI;
extern CEAPCertUpdate g_oEAPCertUpdate;
extern CQuillRemoteQRUILauncher g_oRemoteLauncher;
extern NetworkCaptiveAP g_CaptiveAP;
extern CTCPDump g_TCPDump;
