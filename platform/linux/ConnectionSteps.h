#pragma once

#include <string>
#include <vector>

#include <NetworkManager.h>

#include "Radio.h"

/// The connection's state step by step, made of what NetworkManager says is so: every step with the
/// radio that it is about, none twice and none left out. Asks nobody.
///
///     DISCONNECTED -> ASSOCIATION -> CONFIGURATION -> CONNECTED
///          ^---------------+---------------+--------------'
///
/// A state whose radio is not known yet is no step until it is. Going back, or from one radio to another
/// while connected, leaves the radio first.
class ConnectionSteps {
 public:
  struct Step {
    wifi_connection_state_e state;
    Radio radio;
  };

  /// @param radio  which the TV talks to; one without an address is not known
  /// @return the steps to it
  std::vector<Step> Become(wifi_connection_state_e state, const Radio& radio);

  [[nodiscard]] wifi_connection_state_e State() const { return m_state; }
  /// The radio of the last step, of any but DISCONNECTED.
  [[nodiscard]] const Radio& Partner() const { return m_partner; }

  /// A failed state is that of being disconnected: its steps have told the way so far.
  [[nodiscard]] static wifi_connection_state_e StateOf(NMDeviceState state);

 private:
  void Leave(std::vector<Step>& steps);

  wifi_connection_state_e m_state = WIFI_CONNECTION_STATE_DISCONNECTED;
  Radio m_partner;
};
