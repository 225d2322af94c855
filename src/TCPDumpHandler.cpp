#include "TCPDumpHandler.h"

#include <string>

#include "CFileFunc.h"
#include "Log.h"

namespace {

constexpr char kCaptureFolder[] = "/opt/usr/data/network/";
/// The brackets are part of the name.
constexpr char kCaptureFile[] = "/tcpdump-[time].pcap";

}  // namespace

connection_h TCPDumpHandler::m_pConHandler = nullptr;
connection_tcpdump_state_e TCPDumpHandler::tcpdump_state = CONNECTION_TCPDUMP_STATE_STOPPED;

int TCPDumpHandler::Start() {
  int result = connection_create(&m_pConHandler);
  if (result == CONNECTION_ERROR_NONE) {
    NW_LOG("[connection_create success]");
  } else {
    NW_LOG("[Handle Creation Fail]");
  }
  if (m_pConHandler != nullptr) {
    result = connection_profile_start_tcpdump(m_pConHandler);
    if (result != CONNECTION_ERROR_NONE) {
      NW_LOG("Failed to start tcpdump");
    }
  }
  return result;
}

int TCPDumpHandler::Stop() {
  if (m_pConHandler == nullptr) {
    NW_LOG("no capture was started");
    return CONNECTION_ERROR_NONE;
  }
  if (connection_profile_get_tcpdump_state(m_pConHandler, &tcpdump_state) != CONNECTION_ERROR_NONE) {
    NW_LOG("Failed to stop tcpdump");
    connection_destroy(m_pConHandler);
    m_pConHandler = nullptr;
    return CONNECTION_ERROR_NONE;
  }
  if (const int result = connection_profile_stop_tcpdump(m_pConHandler);
      result != CONNECTION_ERROR_NONE) {
    NW_LOG("Failed to stop tcpdump");
    return result;
  }
  CopyToStick();
  return CONNECTION_ERROR_NONE;
}

void TCPDumpHandler::CopyToStick() {
  if (m_USBAPIObj.getNoOfConnectedUSBDevice() <= 0) {
    return;
  }
  const std::string mountPath = m_USBAPIObj.getUSBMountPath();
  NW_LOG("USBPath Found %s", mountPath.c_str());
  CFileFunc::copyFile(kCaptureFolder, mountPath, kCaptureFile);
}
