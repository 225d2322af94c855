#include "WifiAttempt.h"

#include <utility>

#include <net/if.h>

#include "Air.h"
#include "AsyncAnswer.h"
#include "PlatformLog.h"
#include "SavedWifi.h"
#include "Supplicant.h"
#include "WifiConnection.h"

using wifi_profile::Profile;

namespace {

/// Between the end of a connection and the reason for it.
constexpr guint kGraceMs = 500;

/// A move takes a tenth of a second, and a few where the access point has everybody authenticated anew.
constexpr guint kMoveMs = 5000;

}  // namespace

std::shared_ptr<WifiAttempt> WifiAttempt::Begin(NMClient* client, NMDeviceWifi* device, Goal goal,
                                                Ended ended) {
  std::shared_ptr<WifiAttempt> attempt(
      new WifiAttempt(client, device, std::move(goal), std::move(ended)));
  attempt->ListenToTheSupplicant();
  attempt->Open();
  return attempt;
}

WifiAttempt::WifiAttempt(NMClient* client, NMDeviceWifi* device, Goal goal, Ended ended)
    : m_client(NM_CLIENT(g_object_ref(client))),
      m_device(NM_DEVICE(g_object_ref(device))),
      m_goal(std::move(goal)),
      m_ended(std::move(ended)),
      m_watch(m_goal.network.security) {
  g_signal_connect(m_device, "state-changed", G_CALLBACK(OnDeviceState), this);
  Air::Instance().HoldScans();
}

WifiAttempt::~WifiAttempt() {
  Air::Instance().ReleaseScans();
  Supplicant::Instance().RemoveListener(this);
  g_clear_handle_id(&m_grace, g_source_remove);
  g_clear_handle_id(&m_move_limit, g_source_remove);
  if (m_active != nullptr) {
    g_signal_handlers_disconnect_by_data(m_active, this);
    g_object_unref(m_active);
  }
  g_signal_handlers_disconnect_by_data(m_device, this);
  if (m_original) {
    profile_updates::Restore(m_profile, *m_original);
  }
  g_clear_object(&m_profile);
  g_object_unref(m_device);
  g_object_unref(m_client);
}

void WifiAttempt::ListenToTheSupplicant() {
  Supplicant::Listener listener;
  listener.owner = this;
  listener.on_property = [this](const std::string& name, GVariant* value) {
    if (name == "State" && g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
      OnSupplicantState(g_variant_get_string(value, nullptr));
    } else if (!g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)) {
      return;
    } else if (name == "AuthStatusCode") {
      m_watch.OnAuthStatusCode(g_variant_get_int32(value));
    } else if (name == "AssocStatusCode") {
      m_watch.OnAssocStatusCode(g_variant_get_int32(value));
    } else if (name == "DisconnectReason") {
      m_watch.OnDisconnectReason(g_variant_get_int32(value));
    }
    Judge();
  };
  listener.on_eap = [this](const std::string& status, const std::string& parameter) {
    m_watch.OnEap(status, parameter);
    Judge();
  };
  Supplicant::Instance().AddListener(std::move(listener));
}

void WifiAttempt::Open() {
  const std::string uuid = SavedWifi::ProfileThatOpens(
      {.ssid = m_goal.network.name, .bssid = m_goal.network.bssid, .security = m_goal.network.security});
  NMRemoteConnection* const profile =
      uuid.empty() ? nullptr : nm_client_get_connection_by_uuid(m_client, uuid.c_str());
  if (profile == nullptr) {
    MakeProfile();
    return;
  }
  g_set_object(&m_profile, profile);
  const std::string unreadable = wifi_profile::UnreadableFileOf(NM_CONNECTION(profile));
  if (!unreadable.empty()) {
    PLATFORM_LOG(DLOG_WARN, "cannot be read: %s", unreadable.c_str());
    EndLater(WIFI_ERROR_OPERATION_FAILED);
    return;
  }
  if (IsInUse(profile) && !m_goal.network.bssid.empty() && !m_goal.has_passphrase) {
    Move();
  } else {
    OpenProfile();
  }
}

bool WifiAttempt::IsInUse(NMRemoteConnection* profile) const {
  NMActiveConnection* const active = nm_device_get_active_connection(m_device);
  return active != nullptr && nm_active_connection_get_connection(active) == profile &&
         nm_device_get_state(m_device) == NM_DEVICE_STATE_ACTIVATED;
}

/// What the supplicant will not do is done by NetworkManager.
void WifiAttempt::Move() {
  m_is_begun = true;
  m_is_moving = true;
  m_neighbours = Neighbours::Of(static_cast<int>(if_nametoindex(nm_device_get_iface(m_device))));
  m_watch.OnDeviceState(NM_DEVICE_STATE_CONFIG, NM_DEVICE_STATE_REASON_NONE);
  WifiConnection::Instance().BeginMove();
  m_move_limit = g_timeout_add(kMoveMs, OnMoveTakesTooLong, this);
  Supplicant::Instance().MoveTo(m_goal.network.bssid,
                                [weak = weak_from_this()](bool is_begun, const char* why_not) {
                                  const auto attempt = weak.lock();
                                  if (attempt != nullptr && attempt->m_is_moving && !is_begun) {
                                    attempt->ConnectAnew(why_not);
                                  }
                                });
}

gboolean WifiAttempt::OnMoveTakesTooLong(gpointer self) {
  auto* attempt = static_cast<WifiAttempt*>(self);
  attempt->m_move_limit = 0;
  attempt->ConnectAnew("it does not get there");
  return G_SOURCE_REMOVE;
}

void WifiAttempt::ConnectAnew(const char* reason) {
  PLATFORM_LOG(DLOG_INFO, "connects anew, because the supplicant does not move: %s", reason);
  g_clear_handle_id(&m_move_limit, g_source_remove);
  g_clear_handle_id(&m_grace, g_source_remove);
  m_is_begun = m_is_moving = false;
  m_watch = ActivationWatch(m_goal.network.security);
  OpenProfile();
}

void WifiAttempt::OnSupplicantState(const std::string& state) {
  m_watch.OnState(state);
  if (m_is_moving && state == "completed") {
    m_neighbours.Restore();
    m_watch.OnActiveState(NM_ACTIVE_CONNECTION_STATE_ACTIVATED);
  } else if (m_is_moving && state == "disconnected") {
    m_watch.OnActiveState(NM_ACTIVE_CONNECTION_STATE_DEACTIVATED);
  }
}

/// Reads the secrets only where the profile is changed: otherwise NetworkManager does that for itself.
void WifiAttempt::OpenProfile() {
  if (m_goal.network.bssid.empty() && !m_goal.has_passphrase) {
    Activate();
    return;
  }
  profile_updates::ReadSecrets(m_profile, [weak = weak_from_this()](Profile full) {
    if (const auto attempt = weak.lock()) {
      attempt->OnSecrets(std::move(full));
    }
  });
}

void WifiAttempt::OnSecrets(Profile full) {
  if (full == nullptr) {
    End(WIFI_ERROR_OPERATION_FAILED);
    return;
  }
  if (m_goal.has_passphrase && m_goal.network.security != WIFI_SECURITY_TYPE_NONE &&
      wifi_profile::PassphraseOf(full.get()) != m_goal.network.passphrase) {
    AddAndActivate(
        wifi_profile::CopyWithPassphrase(full.get(), m_goal.network.bssid, m_goal.network.passphrase));
    return;
  }
  if (m_goal.network.bssid.empty()) {
    Activate();
    return;
  }
  const auto pinned = [weak = weak_from_this()](bool is_pinned) {
    const auto attempt = weak.lock();
    if (attempt != nullptr && is_pinned) {
      attempt->Activate();
    } else if (attempt != nullptr) {
      attempt->End(WIFI_ERROR_OPERATION_FAILED);
    }
  };
  m_original = profile_updates::OriginalOf(m_profile, full.get());
  profile_updates::Pin(m_profile, *m_original, m_goal.network.bssid, pinned);
}

void WifiAttempt::MakeProfile() {
  const bool is_open = m_goal.network.security == WIFI_SECURITY_TYPE_NONE;
  if (!is_open && !m_goal.has_passphrase) {
    EndLater(WIFI_ERROR_INVALID_KEY);
    return;
  }
  AddAndActivate(wifi_profile::Make(m_goal.network));
}

void WifiAttempt::Activate() {
  m_is_begun = true;
  const auto answer = [weak = weak_from_this()](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(NMActiveConnection) active =
        nm_client_activate_connection_finish(NM_CLIENT(source), result, &error);
    if (const auto attempt = weak.lock()) {
      attempt->Watch(active, error);
    }
  };
  nm_client_activate_connection_async(m_client, NM_CONNECTION(m_profile), m_device, nullptr, nullptr,
                                      async_answer::Deliver, async_answer::Keep(answer));
}

/// Its profile vanishes with the connection, also when this process does.
void WifiAttempt::AddAndActivate(Profile profile) {
  if (profile == nullptr) {
    EndLater(WIFI_ERROR_INVALID_KEY);
    return;
  }
  m_is_begun = true;
  m_new = std::move(profile);
  const auto answer = [weak = weak_from_this()](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(NMActiveConnection) active =
        nm_client_add_and_activate_connection2_finish(NM_CLIENT(source), result, nullptr, &error);
    if (const auto attempt = weak.lock()) {
      attempt->Watch(active, error);
    }
  };
  GVariantDict options;
  g_variant_dict_init(&options, nullptr);
  g_variant_dict_insert(&options, "persist", "s", "volatile");
  nm_client_add_and_activate_connection2(m_client, m_new.get(), m_device, nullptr,
                                         g_variant_dict_end(&options), nullptr, async_answer::Deliver,
                                         async_answer::Keep(answer));
}

void WifiAttempt::Watch(NMActiveConnection* active, GError* error) {
  if (active == nullptr) {
    PLATFORM_LOG(DLOG_WARN, "no connection was begun: %s", error->message);
    End(WIFI_ERROR_OPERATION_FAILED);
    return;
  }
  m_active = NM_ACTIVE_CONNECTION(g_object_ref(active));
  g_signal_connect(m_active, "state-changed", G_CALLBACK(OnActiveState), this);
  m_watch.OnActiveState(nm_active_connection_get_state(m_active));
  Judge();
}

void WifiAttempt::OnDeviceState(NMDevice* /*device*/, guint state, guint /*old_state*/, guint reason,
                                gpointer self) {
  auto* attempt = static_cast<WifiAttempt*>(self);
  if (attempt->m_is_moving && reason == NM_DEVICE_STATE_REASON_NEW_ACTIVATION) {
    attempt->End(WIFI_ERROR_OPERATION_FAILED);  // somebody leads the TV elsewhere
  } else if (attempt->m_is_begun) {
    attempt->m_watch.OnDeviceState(static_cast<NMDeviceState>(state),
                                   static_cast<NMDeviceStateReason>(reason));
    attempt->Judge();
  }
}

void WifiAttempt::OnActiveState(NMActiveConnection* /*active*/, guint state, guint /*reason*/,
                                gpointer self) {
  auto* attempt = static_cast<WifiAttempt*>(self);
  attempt->m_watch.OnActiveState(static_cast<NMActiveConnectionState>(state));
  attempt->Judge();
}

void WifiAttempt::Judge() {
  const auto verdict = m_watch.Verdict();
  if (m_is_saving) {
    return;
  }
  if (!verdict) {
    if (m_watch.IsWaitingForReason() && m_grace == 0) {
      m_grace = g_timeout_add(kGraceMs, OnReasonDoesNotCome, this);
    }
  } else if (*verdict == WIFI_ERROR_NONE && m_new != nullptr && m_goal.has_passphrase) {
    Save();
  } else {
    End(*verdict);
  }
}

gboolean WifiAttempt::OnReasonDoesNotCome(gpointer self) {
  auto* attempt = static_cast<WifiAttempt*>(self);
  attempt->m_grace = 0;
  if (attempt->m_is_moving) {
    attempt->End(WIFI_ERROR_NO_REPLY);
  } else {
    attempt->m_watch.OnReasonDoesNotCome();
    attempt->Judge();
  }
  return G_SOURCE_REMOVE;
}

/// The profile that was on trial takes the place of one whose passphrase opens the network no more.
void WifiAttempt::Save() {
  m_is_saving = true;
  const Profile profile = wifi_profile::Free(m_new.get());
  const auto saved = [weak = weak_from_this()](bool is_saved) {
    const auto attempt = weak.lock();
    if (attempt == nullptr) {
      return;
    }
    if (is_saved && attempt->m_profile != nullptr) {
      nm_remote_connection_delete_async(attempt->m_profile, nullptr, nullptr, nullptr);
    }
    attempt->End(WIFI_ERROR_NONE);  // connected it is, also when the disk is full
  };
  NMRemoteConnection* const made = nm_active_connection_get_connection(m_active);
  if (made == nullptr) {
    End(WIFI_ERROR_NONE);
    return;
  }
  profile_updates::Save(made, profile.get(), saved);
}

void WifiAttempt::End(wifi_error_e result) {
  const auto self = shared_from_this();  // whom it tells may let it go
  if (m_is_moving && result == WIFI_ERROR_NONE) {
    WifiConnection::Instance().EndMove();
    if (self.use_count() == 1) {
      return;  // who heard of the steps has asked for something else
    }
  }
  if (const Ended ended = std::exchange(m_ended, nullptr)) {
    ended(result);
  }
}

/// For what is known before the first answer has come.
void WifiAttempt::EndLater(wifi_error_e result) {
  GTask* const task =
      g_task_new(nullptr, nullptr, async_answer::Deliver,
                 async_answer::Keep([weak = weak_from_this(), result](GObject*, GAsyncResult*) {
                   if (const auto attempt = weak.lock()) {
                     attempt->End(result);
                   }
                 }));
  g_task_return_boolean(task, TRUE);
  g_object_unref(task);
}
