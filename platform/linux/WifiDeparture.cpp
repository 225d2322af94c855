#include "WifiDeparture.h"

#include <utility>

#include "AsyncAnswer.h"

namespace {

/// NetworkManager leaves in less than a tenth of that; one that hangs shall not keep who waits.
constexpr guint kLimitMs = 3000;

}  // namespace

std::shared_ptr<WifiDeparture> WifiDeparture::Begin(NMDevice* device, Left left) {
  std::shared_ptr<WifiDeparture> departure(new WifiDeparture(device, std::move(left)));
  departure->Ask();
  return departure;
}

WifiDeparture::WifiDeparture(NMDevice* device, Left left)
    : m_device(NM_DEVICE(g_object_ref(device))), m_left(std::move(left)) {
  g_signal_connect(m_device, "state-changed", G_CALLBACK(OnState), this);
  m_limit = g_timeout_add(kLimitMs, OnLimit, this);
}

WifiDeparture::~WifiDeparture() {
  g_clear_handle_id(&m_limit, g_source_remove);
  g_signal_handlers_disconnect_by_data(m_device, this);
  g_object_unref(m_device);
}

/// Asked also when nothing is connected, so that NetworkManager does not connect by itself next.
void WifiDeparture::Ask() {
  const auto answer = [weak = weak_from_this()](GObject* source, GAsyncResult* result) {
    const bool is_accepted = nm_device_disconnect_finish(NM_DEVICE(source), result, nullptr) != FALSE;
    const auto departure = weak.lock();
    if (departure != nullptr && (departure->HasLeft() || !is_accepted)) {
      departure->End();
    }
  };
  nm_device_disconnect_async(m_device, nullptr, async_answer::Deliver, async_answer::Keep(answer));
}

bool WifiDeparture::HasLeft() const {
  return nm_device_get_state(m_device) <= NM_DEVICE_STATE_DISCONNECTED;
}

void WifiDeparture::OnState(NMDevice* /*device*/, guint state, guint /*old_state*/, guint /*reason*/,
                            gpointer self) {
  if (state <= NM_DEVICE_STATE_DISCONNECTED) {
    static_cast<WifiDeparture*>(self)->End();
  }
}

gboolean WifiDeparture::OnLimit(gpointer self) {
  auto* departure = static_cast<WifiDeparture*>(self);
  departure->m_limit = 0;
  departure->End();
  return G_SOURCE_REMOVE;
}

void WifiDeparture::End() {
  const auto self = shared_from_this();  // whom it tells may let it go
  if (const Left left = std::exchange(m_left, nullptr)) {
    left(HasLeft());
  }
}
