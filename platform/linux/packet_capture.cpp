#include "packet_capture.h"

#include "CallGate.h"
#include "Connections.h"
#include "PacketCapture.h"
#include "net_connection.h"

namespace {

using namespace std::chrono_literals;

constexpr char kDirectory[] = "/opt/usr/data/network";
constexpr char kFile[] = "tcpdump-[time].pcap";

/// The daemon carries no larger file to a stick.
constexpr std::size_t kFileBytes = 1024 * 1024;
/// For a capture that was forgotten.
constexpr std::chrono::milliseconds kDuration = 30min;

/// The one of the platform: it outlives the handle that it was begun with.
std::unique_ptr<PacketCapture>& TheCapture() {
  static auto* const capture = new std::unique_ptr<PacketCapture>;
  return *capture;
}

bool IsRunning() {
  return TheCapture() != nullptr && TheCapture()->IsRunning();
}

}  // namespace

int connection_profile_start_tcpdump(connection_h connection) {
  if (const auto refusal = call_gate::Refusal("connection_profile_start_tcpdump")) {
    return *refusal;
  }
  if (!IsConnection(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  if (IsRunning()) {
    return CONNECTION_ERROR_OPERATION_FAILED;
  }
  TheCapture().reset();  // one that had ended by itself, and its hold on the file
  TheCapture() = PacketCapture::Start(kDirectory, kFile, {kFileBytes, kDuration});
  return TheCapture() != nullptr ? CONNECTION_ERROR_NONE : CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_profile_stop_tcpdump(connection_h connection) {
  if (const auto refusal = call_gate::Refusal("connection_profile_stop_tcpdump")) {
    return *refusal;
  }
  if (!IsConnection(connection)) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  return FinishCapture() ? CONNECTION_ERROR_NONE : CONNECTION_ERROR_OPERATION_FAILED;
}

int connection_profile_get_tcpdump_state(connection_h connection, connection_tcpdump_state_e* state) {
  if (const auto refusal = call_gate::Refusal("connection_profile_get_tcpdump_state")) {
    return *refusal;
  }
  if (!IsConnection(connection) || state == nullptr) {
    return CONNECTION_ERROR_INVALID_PARAMETER;
  }
  *state = IsRunning() ? CONNECTION_TCPDUMP_STATE_RUNNING : CONNECTION_TCPDUMP_STATE_STOPPED;
  return CONNECTION_ERROR_NONE;
}

bool FinishCapture() {
  const std::unique_ptr<PacketCapture> capture = std::move(TheCapture());
  return capture != nullptr && capture->Stop();
}
