#include "ProfileUpdates.h"

#include "AsyncAnswer.h"
#include "PlatformLog.h"

namespace profile_updates {

namespace {

using wifi_profile::Profile;

void Complain(const char* what, const GError* error) {
  PLATFORM_LOG(DLOG_WARN, "a profile %s: %s", what, error->message);
}

void Update(NMRemoteConnection* profile, NMConnection* full, NMSettingsUpdate2Flags flags, Done done) {
  const auto answer = [done = std::move(done)](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) reply =
        nm_remote_connection_update2_finish(NM_REMOTE_CONNECTION(source), result, &error);
    if (reply == nullptr) {
      Complain("cannot be changed", error);
    }
    if (done) {
      done(reply != nullptr);
    }
  };
  nm_remote_connection_update2(
      profile, nm_connection_to_dbus(full, NM_CONNECTION_SERIALIZE_ALL),
      static_cast<NMSettingsUpdate2Flags>(flags | NM_SETTINGS_UPDATE2_FLAG_NO_REAPPLY), nullptr, nullptr,
      async_answer::Deliver, async_answer::Keep(answer));
}

}  // namespace

void ReadSecrets(NMRemoteConnection* profile, WithSecrets answer) {
  Profile copy(nm_simple_connection_new_clone(NM_CONNECTION(profile)));
  const char* const setting = wifi_profile::SecretsSettingOf(copy.get());
  // What a std::function keeps must be copyable.
  auto kept = std::make_shared<Profile>(std::move(copy));
  if (setting == nullptr) {
    GTask* const task = g_task_new(
        profile, nullptr, async_answer::Deliver,
        async_answer::Keep([kept, answer](GObject*, GAsyncResult*) { answer(std::move(*kept)); }));
    g_task_return_boolean(task, TRUE);
    g_object_unref(task);
    return;
  }
  const auto read = [kept, setting, answer = std::move(answer)](GObject* source, GAsyncResult* result) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) secrets =
        nm_remote_connection_get_secrets_finish(NM_REMOTE_CONNECTION(source), result, &error);
    if (secrets == nullptr ||
        nm_connection_update_secrets(kept->get(), setting, secrets, &error) == FALSE) {
      Complain("does not tell its secrets", error);
      answer(nullptr);
      return;
    }
    answer(std::move(*kept));
  };
  nm_remote_connection_get_secrets_async(profile, setting, nullptr, async_answer::Deliver,
                                         async_answer::Keep(read));
}

Original OriginalOf(NMRemoteConnection* profile, NMConnection* full) {
  const bool is_saved =
      (nm_remote_connection_get_flags(profile) & NM_SETTINGS_CONNECTION_FLAG_UNSAVED) == 0;
  return {wifi_profile::Unpin(full),
          wifi_profile::IsPinned(full) ? wifi_profile::WasOnDisk(full) : is_saved};
}

void Pin(NMRemoteConnection* profile, const Original& original, const std::string& bssid, Done done) {
  const Profile pinned = wifi_profile::Pin(original.full.get(), bssid, original.is_on_disk);
  Update(profile, pinned.get(), NM_SETTINGS_UPDATE2_FLAG_IN_MEMORY, std::move(done));
}

void Restore(NMRemoteConnection* profile, const Original& original) {
  Update(profile, original.full.get(),
         original.is_on_disk ? NM_SETTINGS_UPDATE2_FLAG_TO_DISK : NM_SETTINGS_UPDATE2_FLAG_IN_MEMORY,
         nullptr);
}

void Unpin(NMRemoteConnection* profile) {
  NMRemoteConnection* const kept = NM_REMOTE_CONNECTION(g_object_ref(profile));
  ReadSecrets(profile, [kept](Profile full) {
    if (full != nullptr) {
      Restore(kept, OriginalOf(kept, full.get()));
    }
    g_object_unref(kept);
  });
}

void Save(NMRemoteConnection* profile, NMConnection* full, Done done) {
  Update(profile, full, NM_SETTINGS_UPDATE2_FLAG_TO_DISK, std::move(done));
}

}  // namespace profile_updates
