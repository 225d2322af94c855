#pragma once

#include <memory>

#include "EAPReconnect.h"
#include "vconf.h"

/// Brings new enterprise (EAP) certificates to work: when the settings say that some were installed they
/// are copied to where the connection manager reads them, and the present network is joined anew. One
/// reconnection at a time; certificates that are installed while it runs are copied and no more.
///
/// A reconnection that never ends (see CEAPReconnect) keeps later ones away for the life of the process.
/// Static object; main-loop thread only.
class CEAPCertUpdate {
 public:
  /// Begins to watch the settings. Nothing ends that.
  void Init();

  /// @return whether the settings say that certificates were installed
  static bool IsNewCertificate();

  /// @return whether any was copied
  static bool m_CopyCertificates();

  /// @param self  a CEAPCertUpdate
  static void On_EAP_New_Certificate(keynode_t* node, void* self);

  /// @param result  an exit status of CEAPReconnect
  void OnReconnectionComplete(int result);

 private:
  std::unique_ptr<CEAPReconnect> m_reconnect;  // null: none runs
};
