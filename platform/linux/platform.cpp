#include "platform.h"

#include "Air.h"
#include "CallGate.h"
#include "Connections.h"
#include "NetworkService.h"
#include "NetworkType.h"
#include "RestingMemory.h"
#include "SavedWifi.h"
#include "SleepWatch.h"
#include "SoundServer.h"
#include "StickWatch.h"
#include "Supplicant.h"
#include "Telephony.h"
#include "WifiConnector.h"
#include "WifiInterface.h"
#include "WiredRequests.h"
#include "packet_capture.h"

namespace {

std::unique_ptr<NetworkType>& TheNetworkType() {
  static auto* const type = new std::unique_ptr<NetworkType>;
  return *type;
}

}  // namespace

int platform_start(void) {
  if (const auto refusal = call_gate::Refusal("platform_start")) {
    return *refusal;
  }
  TheNetworkType() = NetworkType::Start([] { RestingMemory::Instance().OnChange(); });
  StartTelephony();
  SavedWifi::Instance().Start();
  wifi_interface::Start();
  NetworkService::Instance().Start();
  Supplicant::Instance().Start();
  WifiConnector::Instance().Start();
  Air::Instance().Start();
  SleepWatch::Instance().Start();
  RestingMemory::Instance().Start();
  return TheNetworkType() != nullptr ? 0 : -1;
}

void platform_stop(void) {
  SleepWatch::Instance().Stop();
  ForgetPortalQuestions();
  WiredRequests::Instance().Stop();
  WifiConnector::Instance().Stop();
  Air::Instance().Stop();
  Supplicant::Instance().Stop();
  NetworkService::Instance().Stop();
  wifi_interface::Stop();
  SavedWifi::Instance().Stop();
  StopTelephony();
  SoundServer::Instance().Stop();
  FinishCapture();
  StickWatch::Instance().Stop();
  TheNetworkType().reset();
  RestingMemory::Instance().Stop();
  StopConnections();
}
