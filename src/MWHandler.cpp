#include "MWHandler.h"

MWHandler::~MWHandler() {
  ReleaseAP();
  if (m_connection != nullptr) {
    connection_destroy(m_connection);
  }
}

bool MWHandler::TakeConnectedAP() {
  ReleaseAP();
  if (wifi_get_connected_ap(&m_ap) != WIFI_ERROR_NONE) {
    m_ap = nullptr;
  }
  return m_ap != nullptr;
}

connection_h MWHandler::GetConnection() {
  if (m_connection == nullptr && connection_create(&m_connection) != CONNECTION_ERROR_NONE) {
    m_connection = nullptr;
  }
  return m_connection;
}

void MWHandler::ReleaseAP() {
  if (m_ap != nullptr) {
    wifi_ap_destroy(m_ap);
    m_ap = nullptr;
  }
}
