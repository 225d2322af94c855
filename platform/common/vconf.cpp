#include "vconf.h"

#include <cstring>

#include "CallGate.h"
#include "PlatformLog.h"
#include "SettingsFile.h"
#include "SettingsWatcher.h"

namespace {

int Write(const char* key, GVariant* value) {
  const int error = settings::Write(key, value);
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot write %s: %s", key == nullptr ? "(null)" : key, g_strerror(error));
  }
  return error == 0 ? VCONF_OK : VCONF_ERROR;
}

}  // namespace

int vconf_get_int(const char* key, int* value) {
  if (call_gate::Refusal("vconf_get_int", key) || value == nullptr) {
    return VCONF_ERROR;
  }
  const auto stored = settings::ReadNumber(key);
  if (!stored) {
    return VCONF_ERROR;
  }
  *value = *stored;
  return VCONF_OK;
}

int vconf_get_bool(const char* key, int* value) {
  if (call_gate::Refusal("vconf_get_bool", key) || value == nullptr) {
    return VCONF_ERROR;
  }
  const auto stored = settings::ReadTruth(key);
  if (!stored) {
    return VCONF_ERROR;
  }
  *value = *stored ? 1 : 0;
  return VCONF_OK;
}

char* vconf_get_str(const char* key) {
  if (call_gate::Refusal("vconf_get_str", key)) {
    return nullptr;
  }
  const auto text = settings::ReadText(key);
  return text ? strdup(text->c_str()) : nullptr;
}

int vconf_set_int(const char* key, int value) {
  if (const auto refusal = call_gate::Refusal("vconf_set_int", key, value)) {
    return *refusal;
  }
  return Write(key, g_variant_new_int32(value));
}

int vconf_set_bool(const char* key, int value) {
  if (const auto refusal = call_gate::Refusal("vconf_set_bool", key, value)) {
    return *refusal;
  }
  return Write(key, g_variant_new_boolean(value != 0));
}

int vconf_set_str(const char* key, const char* value) {
  if (const auto refusal = call_gate::Refusal("vconf_set_str", key, value)) {
    return *refusal;
  }
  return value == nullptr ? VCONF_ERROR : Write(key, settings::FromText(value));
}

int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data) {
  if (const auto refusal = call_gate::Refusal("vconf_notify_key_changed", key)) {
    return *refusal;
  }
  const int error = SettingsWatcher::Instance().Watch(key, callback, user_data);
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot watch %s: %s", key == nullptr ? "(null)" : key, g_strerror(error));
  }
  return error == 0 ? VCONF_OK : VCONF_ERROR;
}

int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback) {
  if (const auto refusal = call_gate::Refusal("vconf_ignore_key_changed", key)) {
    return *refusal;
  }
  return SettingsWatcher::Instance().Ignore(key, callback) ? VCONF_OK : VCONF_ERROR;
}
