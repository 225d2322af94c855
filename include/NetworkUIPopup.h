#pragma once

#include <functional>
#include <string>

#include "vconf.h"

/// A question to the user.
class IUIType {
 public:
  virtual ~IUIType() = default;
  virtual void Show(std::string text, std::function<void(int)> callback) = 0;
  virtual void Close() = 0;
};

/// Asks, through the network settings application, whether the new 5 GHz connection shall stay. Both
/// sides talk over "db/menu/network/launchNS", which each of them writes and watches. One popup at a
/// time; main-loop thread only.
class CNetworkUIPopup : public IUIType {
 public:
  CNetworkUIPopup() = default;
  ~CNetworkUIPopup() override;
  CNetworkUIPopup(const CNetworkUIPopup&) = delete;
  CNetworkUIPopup& operator=(const CNetworkUIPopup&) = delete;

  /// @param text      not shown: the application has its own words
  /// @param callback  gets 1 when the user confirmed and 0 when the user declined or left; it may end
  ///                  this object, and replaces the one before it
  void Show(std::string text, std::function<void(int)> callback) override;

  /// Ends the conversation; the application is not told.
  void Close() override;

 private:
  static void vconf_on_button_clicked(keynode_t* node, void* popup);
  void StopListening();

  std::function<void(int)> m_callback;
  bool m_isShown = false;  // no button was pressed yet
};
