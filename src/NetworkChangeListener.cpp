#include "NetworkChangeListener.h"

#include <utility>

#include "Log.h"
#include "StaticObjects.h"

NetworkChangeListener::~NetworkChangeListener() {
  if (m_isWatching) {
    UnRegisterCb();
  }
}

void NetworkChangeListener::RegisterCb(Callback callback) {
  NW_LOG("START");
  if (vconf_notify_key_changed(NetworkTypeVconfKey.c_str(), __NetworkTypeChangeCb, this) == VCONF_OK) {
    m_isWatching = true;
  } else {
    NW_LOG("Failed to register NetworkType vconf callback");
  }
  m_lastType = GetCurrentNetworkType();
  m_callback = std::move(callback);
  NW_LOG("END");
}

void NetworkChangeListener::UnRegisterCb() {
  vconf_ignore_key_changed(NetworkTypeVconfKey.c_str(), __NetworkTypeChangeCb);
  m_isWatching = false;
}

void NetworkChangeListener::__NetworkTypeChangeCb(keynode_t* /*node*/, void* listener) {
  NW_LOG("START");
  auto* const self = static_cast<NetworkChangeListener*>(listener);
  const eNetworkType type = GetCurrentNetworkType();
  if (type != self->m_lastType) {
    self->m_lastType = type;
    if (self->m_callback) {
      self->m_callback(type);
    }
  }
  NW_LOG("END");
}
