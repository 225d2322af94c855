#include "EAPCertUpdate.h"

#include <string_view>

#include "CFileSystem.h"
#include "Log.h"
#include "NW_Common.h"
#include "StaticObjects.h"
#include "vconf_keys.h"

void CEAPCertUpdate::Init() {
  vconf_notify_key_changed(vconf_keys::kEapCertificateStatus, On_EAP_New_Certificate, this);
}

bool CEAPCertUpdate::IsNewCertificate() {
  const HeapString status(vconf_get_str(vconf_keys::kEapCertificateStatus));
  NW_LOG("{EAP}launchns status %s", status == nullptr ? "" : status.get());
  return status != nullptr && std::string_view(status.get()) == "installed";
}

bool CEAPCertUpdate::m_CopyCertificates() {
  const bool root_copied = CFileSystem::CopyCertificates(ROOT_CERT_PATH, MW_CERT_PATH);
  const bool client_copied = CFileSystem::CopyCertificates(CLIENT_CERT_PATH, MW_CERT_PATH);
  return root_copied || client_copied;
}

void CEAPCertUpdate::On_EAP_New_Certificate(keynode_t* /*node*/, void* self) {
  NW_LOG("START");
  if (!IsNewCertificate()) {
    return;
  }
  if (!m_CopyCertificates()) {
    NW_LOG("fail to copy certificate ");
    return;
  }
  auto* const update = static_cast<CEAPCertUpdate*>(self);
  if (update->m_reconnect != nullptr) {
    NW_LOG("cannot reconnect , it is already in progress");
    return;
  }
  update->m_reconnect = std::make_unique<CEAPReconnect>();
  const auto complete = [update](int result) { update->OnReconnectionComplete(result); };
  if (!update->m_reconnect->Reconnect(complete)) {
    NW_LOG("fail to reconnect");
    update->m_reconnect.reset();
  }
}

void CEAPCertUpdate::OnReconnectionComplete(int result) {
  NW_LOG("{EAP} result =>>%d", result);
  m_reconnect.reset();
}
