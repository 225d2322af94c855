#pragma once

#include <functional>

#include "NW_Common.h"
#include "vconf.h"

/// Tells a callback of each change of the network's type. At most one in a process listens at a time:
/// the end of one watch on the type ends all of this class. Main-loop thread only.
class NetworkChangeListener {
 public:
  using Callback = std::function<void(eNetworkType type)>;

  NetworkChangeListener() = default;
  NetworkChangeListener(const NetworkChangeListener&) = delete;
  NetworkChangeListener& operator=(const NetworkChangeListener&) = delete;

  /// Tells of changes from the present type on. To be paired with UnRegisterCb(); nothing is told when
  /// the key cannot be watched.
  /// @param callback  replaces an earlier one; may be empty
  void RegisterCb(Callback callback);
  void UnRegisterCb();

 protected:
  /// Ends the watch, if UnRegisterCb() did not.
  ~NetworkChangeListener();

 private:
  static void __NetworkTypeChangeCb(keynode_t* node, void* listener);

  Callback m_callback;
  eNetworkType m_lastType = eNetworkTypeWired;
  bool m_isWatching = false;
};
