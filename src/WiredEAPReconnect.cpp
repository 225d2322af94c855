#include "WiredEAPReconnect.h"

#include "Log.h"

namespace {

void OnClosed(connection_error_e error, void* number) {
  WiredEAPReconnect::connection_closed_callback(error, LiveObjects<WiredEAPReconnect>::Find(number));
}

void OnOpened(connection_error_e error, void* number) {
  WiredEAPReconnect::connection_opened_callback(error, LiveObjects<WiredEAPReconnect>::Find(number));
}

}  // namespace

WiredEAPReconnect::WiredEAPReconnect(CEAPObserver* observer) : m_observer(observer) {
  connection_create(&m_connection);
}

WiredEAPReconnect::~WiredEAPReconnect() {
  if (m_connection != nullptr) {
    connection_destroy(m_connection);
  }
}

void WiredEAPReconnect::ReconnectWired() {
  NW_LOG("START");
  if (m_connection == nullptr) {
    return;
  }
  m_profile = nullptr;
  NW_LOG("GetUpdatedEthernetProfileHandle: [%d]", GetUpdatedEthernetProfileHandle());
  if (m_profileType == CONNECTION_PROFILE_TYPE_ETHERNET) {
    if (connection_close_profile(m_connection, m_profile, OnClosed, m_entry.AsUserData()) !=
        CONNECTION_ERROR_NONE) {
      NW_LOG("Connection close Failed!!\n");
    }
  } else {
    NW_LOG("Profile Type Not Ethernet: ");
  }
  NW_LOG("END");
}

int WiredEAPReconnect::GetUpdatedEthernetProfileHandle() {
  connection_profile_iterator_h iterator = nullptr;
  const int result =
      connection_get_profile_iterator(m_connection, CONNECTION_ITERATOR_TYPE_REGISTERED, &iterator);
  if (result != CONNECTION_ERROR_NONE) {
    NW_LOG("Fail to get profile iterator [%d]", result);
    return 0;
  }
  while (connection_profile_iterator_has_next(iterator)) {
    if (connection_profile_iterator_next(iterator, &m_profile) != CONNECTION_ERROR_NONE) {
      NW_LOG("Fail to get profile handle");
      return 0;
    }
    if (connection_profile_get_type(m_profile, &m_profileType) != CONNECTION_ERROR_NONE) {
      NW_LOG("Fail to get profile type");
      return 0;
    }
    if (m_profileType == CONNECTION_PROFILE_TYPE_ETHERNET) {
      NW_LOG("profile_type == CONNECTION_PROFILE_TYPE_ETHERNET");
      return 0;
    }
  }
  return 0;
}

void WiredEAPReconnect::connection_closed_callback(connection_error_e error, void* self) {
  if (error == CONNECTION_ERROR_NONE) {
    NW_LOG("Connection close Succeeded\n");
  } else {
    NW_LOG("Connection close Failed, err : ");
  }
  auto* const wired = static_cast<WiredEAPReconnect*>(self);
  if (wired == nullptr) {
    return;
  }
  wired->GetUpdatedEthernetProfileHandle();
  if (wired->m_profile == nullptr) {
    wired->m_observer->update(1);
    return;
  }
  if (connection_open_profile(wired->m_connection, wired->m_profile, OnOpened,
                              wired->m_entry.AsUserData()) != CONNECTION_ERROR_NONE) {
    wired->m_observer->update(1);
    NW_LOG("Connection open Failed");
  }
}

void WiredEAPReconnect::connection_opened_callback(connection_error_e error, void* self) {
  if (error == CONNECTION_ERROR_NONE) {
    NW_LOG("Connection open Succeeded\n");
  } else {
    NW_LOG("Connection open Failed, err :");
  }
  auto* const wired = static_cast<WiredEAPReconnect*>(self);
  if (wired == nullptr) {
    NW_LOG("pThis NUll, err :");
    return;
  }
  wired->m_observer->update(1);
}
