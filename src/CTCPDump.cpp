#include "CTCPDump.h"

#include "Log.h"
#include "NotiProxy.h"
#include "TCPDumpHandler.h"
#include "vconf_keys.h"

namespace {

constexpr int kStart = 1;

}  // namespace

CTCPDump::CTCPDump() {
  NW_LOG("START");
}

CTCPDump::~CTCPDump() {
  NW_LOG("END");
}

void CTCPDump::Init() {
  if (vconf_notify_key_changed(vconf_keys::kStartStopTcpDump, VconfNotifyTCPDump, this) < 0) {
    NW_LOG_SYSTEM("failed to register vconf change notify for RSEV tool launched conf");
  }
}

void CTCPDump::DeInit() {
  vconf_ignore_key_changed(vconf_keys::kStartStopTcpDump, VconfNotifyTCPDump);
}

void CTCPDump::VconfNotifyTCPDump(keynode_t* /*node*/, void* self) {
  NW_LOG("StartTCPDump Init");
  if (self == nullptr) {
    return;
  }
  int request = 0;
  if (vconf_get_int(vconf_keys::kStartStopTcpDump, &request) != VCONF_OK) {
    NW_LOG("failed to set tcp dump memory/Pelorus/start_stop_TCPDump");
    return;
  }
  auto* const dump = static_cast<CTCPDump*>(self);
  if (request == kStart) {
    dump->StartTCPDump();
  } else {
    dump->StopTCPDump();
  }
}

void CTCPDump::StartTCPDump() {
  if (IsTcpdumpRunning()) {
    GetNotiInstance()->ShowTCPDumpPopup("TCPDumpAlreadyRunning");
    return;
  }
  EnableVconfForTSDump();
  if (TCPDumpHandler::Start() == 0) {
    SetTCPDumpRunningStatus(1);
    GetNotiInstance()->ShowTCPDumpPopup("StartTCPDump");
  } else {
    GetNotiInstance()->ShowTCPDumpPopup("TCPDumpFailToStart");
  }
}

void CTCPDump::StopTCPDump() {
  DisableVconfForTSDump();
  const bool is_stopped = TCPDumpHandler::Stop() == 0;
  GetNotiInstance()->ShowTCPDumpPopup(is_stopped ? "StopTCPDump" : "TCPDumpFailToStop");
  SetTCPDumpRunningStatus(0);
}

bool CTCPDump::IsTcpdumpRunning() {
  int status = 0;
  if (vconf_get_int(vconf_keys::kTcpDumpRunningStatus, &status) != VCONF_OK) {
    NW_LOG("failed to get tcp dump status");
    return false;
  }
  return status != 0;
}

void CTCPDump::SetTCPDumpRunningStatus(int status) {
  if (vconf_set_int(vconf_keys::kTcpDumpRunningStatus, status) != VCONF_OK) {
    NW_LOG("failed to get tcp dump status");
  }
}

void CTCPDump::EnableVconfForTSDump() {
  if (vconf_set_int(vconf_keys::kCaptureTsDump, 1) == VCONF_OK) {
    NW_LOG("Enabled vconf for TS Dump");
  } else {
    NW_LOG("Failed to enable vconf for TS dump");
  }
}

void CTCPDump::DisableVconfForTSDump() {
  if (vconf_set_int(vconf_keys::kCaptureTsDump, 0) == VCONF_OK) {
    NW_LOG("Disabled vconf for TS Dump");
  } else {
    NW_LOG("Failed to disable vconf for TS dump");
  }
}
