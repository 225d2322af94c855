#include "WiredRequest.h"

#include <utility>

#include <net/if.h>

#include "AsyncAnswer.h"
#include "KernelTables.h"
#include "NetworkService.h"
#include "PlatformLog.h"

using namespace std::chrono_literals;

namespace {

/// NetworkManager leaves within half a second.
constexpr auto kLeaveLimit = 10'000ms;
/// It takes 76 s to give up on a port that asks for certificates and does not like them.
constexpr auto kJoinLimit = 100'000ms;
/// NetworkManager tells of a state before or after the kernel has the addresses.
constexpr auto kLookAgain = 50ms;

bool IsWiredDevice(NMDevice* device) {
  return NM_IS_DEVICE_ETHERNET(device) || NM_IS_DEVICE_VETH(device);
}

bool HasAddress(NMDevice* device) {
  const char* name = nm_device_get_ip_iface(device);
  name = name == nullptr ? nm_device_get_iface(device) : name;
  const unsigned index = name == nullptr ? 0 : if_nametoindex(name);
  const int link = static_cast<int>(index);
  const auto ipv6 = kernel_tables::AddressOf(link, CONNECTION_ADDRESS_FAMILY_IPV6);
  return kernel_tables::AddressOf(link, CONNECTION_ADDRESS_FAMILY_IPV4).has_value() ||
         (ipv6 && !ipv6->starts_with("fe80:"));
}

}  // namespace

bool HasCable(NMDevice* device) {
  return NM_IS_DEVICE_ETHERNET(device)
             ? nm_device_ethernet_get_carrier(NM_DEVICE_ETHERNET(device)) != FALSE
             : (nm_device_get_interface_flags(device) & NM_DEVICE_INTERFACE_FLAG_CARRIER) != 0;
}

NMDevice* FindCable() {
  NMClient* const client = NetworkService::Instance().Client();
  const GPtrArray* devices = client == nullptr ? nullptr : nm_client_get_devices(client);
  NMDevice* found = nullptr;
  for (guint i = 0; devices != nullptr && i < devices->len; ++i) {
    auto* const device = NM_DEVICE(g_ptr_array_index(devices, i));
    if (IsWiredDevice(device) && nm_device_get_managed(device) != FALSE && HasCable(device) &&
        (found == nullptr || nm_device_get_state(found) != NM_DEVICE_STATE_ACTIVATED)) {
      found = device;
    }
  }
  return found;
}

std::shared_ptr<WiredRequest> WiredRequest::Begin(NMDevice* device, bool is_open, std::string profile,
                                                  Handler done) {
  std::shared_ptr<WiredRequest> request(
      new WiredRequest(device, is_open, std::move(profile), std::move(done)));
  request->m_step.After(0ms, [self = request.get()] { self->Ask(); });
  return request;
}

WiredRequest::WiredRequest(NMDevice* device, bool is_open, std::string profile, Handler done)
    : m_device(NM_DEVICE(g_object_ref(device))),
      m_is_open(is_open),
      m_profile(std::move(profile)),
      m_done(std::move(done)) {
  g_signal_connect_swapped(m_device, "notify::" NM_DEVICE_STATE, G_CALLBACK(OnChange), this);
  g_signal_connect_swapped(m_device, "notify::" NM_DEVICE_INTERFACE_FLAGS, G_CALLBACK(OnChange), this);
  NetworkService::Instance().AddListener(this, [this] { Look(); });
  m_limit.After(m_is_open ? kJoinLimit : kLeaveLimit,
                [this] { Finish(CONNECTION_ERROR_OPERATION_FAILED); });
}

WiredRequest::~WiredRequest() {
  NetworkService::Instance().RemoveListener(this);
  Follow(nullptr);
  g_signal_handlers_disconnect_by_data(m_device, this);
  g_object_unref(m_device);
}

void WiredRequest::Ask() {
  if (NetworkService::Instance().Client() == nullptr) {
    Finish(CONNECTION_ERROR_OPERATION_FAILED);
  } else if (IsSo()) {
    Finish(CONNECTION_ERROR_NONE);
  } else if (!m_is_open) {
    AskToLeave();
  } else if (nm_device_get_active_connection(m_device) != nullptr &&
             nm_device_get_state(m_device) < NM_DEVICE_STATE_DEACTIVATING) {
    Follow(nm_device_get_active_connection(m_device));  // it is on its way there
    Look();
  } else {
    AskToJoin();
  }
}

/// Not the profile is left but the device: NetworkManager would join with the next profile at once.
void WiredRequest::AskToLeave() {
  const auto answer = [weak = weak_from_this()](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    const bool is_taken = nm_device_disconnect_finish(NM_DEVICE(source), result, &error) != FALSE;
    if (const auto request = weak.lock()) {
      is_taken ? request->Look() : request->OnRefused(error);
    }
  };
  nm_device_disconnect_async(m_device, nullptr, async_answer::Deliver, async_answer::Keep(answer));
}

void WiredRequest::AskToJoin() {
  NMClient* const client = NetworkService::Instance().Client();
  NMRemoteConnection* const profile =
      m_profile.empty() ? nullptr : nm_client_get_connection_by_uuid(client, m_profile.c_str());
  const auto answer = [weak = weak_from_this()](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(NMActiveConnection) active =
        nm_client_activate_connection_finish(NM_CLIENT(source), result, &error);
    const auto request = weak.lock();
    if (request == nullptr) {
      return;
    }
    if (active == nullptr) {
      request->OnRefused(error);
      return;
    }
    request->Follow(active);
    request->Look();
  };
  nm_client_activate_connection_async(client, NM_CONNECTION(profile), m_device, nullptr, nullptr,
                                      async_answer::Deliver, async_answer::Keep(answer));
}

/// What was refused may be so all the same: somebody else was faster.
void WiredRequest::OnRefused(const GError* error) {
  if (m_done == nullptr) {
    return;
  }
  if (!IsSo()) {
    PLATFORM_LOG(DLOG_WARN, "NetworkManager does not %s the wired network: %s",
                 m_is_open ? "join" : "leave", error->message);
    Finish(HasCable(m_device) ? CONNECTION_ERROR_OPERATION_FAILED : CONNECTION_ERROR_NO_CONNECTION);
    return;
  }
  Finish(CONNECTION_ERROR_NONE);
}

void WiredRequest::Follow(NMActiveConnection* active) {
  if (m_active != nullptr) {
    g_signal_handlers_disconnect_by_data(m_active, this);
  }
  g_set_object(&m_active, active);
  if (m_active != nullptr) {
    g_signal_connect_swapped(m_active, "notify::" NM_ACTIVE_CONNECTION_STATE, G_CALLBACK(OnChange),
                             this);
  }
}

void WiredRequest::OnChange(WiredRequest* self) {
  self->Look();
}

void WiredRequest::Look() {
  if (m_done == nullptr) {
    return;
  }
  if (NetworkService::Instance().Client() == nullptr) {
    Finish(CONNECTION_ERROR_OPERATION_FAILED);
  } else if (IsSo()) {
    Finish(CONNECTION_ERROR_NONE);
  } else if (m_is_open && !HasCable(m_device)) {
    Finish(CONNECTION_ERROR_NO_CONNECTION);
  } else if (HasEnded()) {
    Finish(CONNECTION_ERROR_OPERATION_FAILED);
  } else {
    const auto state = nm_device_get_state(m_device);
    const bool is_said =
        m_is_open ? state == NM_DEVICE_STATE_ACTIVATED : state <= NM_DEVICE_STATE_DISCONNECTED;
    if (is_said) {
      m_step.After(kLookAgain, [this] { Look(); });
    }
  }
}

bool WiredRequest::IsSo() const {
  const auto state = nm_device_get_state(m_device);
  return m_is_open ? state == NM_DEVICE_STATE_ACTIVATED && HasAddress(m_device)
                   : state <= NM_DEVICE_STATE_DISCONNECTED && !HasAddress(m_device);
}

/// What was asked for did not come to anything.
bool WiredRequest::HasEnded() const {
  return m_active != nullptr &&
         nm_active_connection_get_state(m_active) == NM_ACTIVE_CONNECTION_STATE_DEACTIVATED;
}

void WiredRequest::Finish(connection_error_e result) {
  const auto self = shared_from_this();  // whom it tells may let it go
  m_step.Reset();
  m_limit.Reset();
  if (const Handler done = std::exchange(m_done, nullptr)) {
    done(result);
  }
}
