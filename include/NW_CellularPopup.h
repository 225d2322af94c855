#pragma once

/// Popups for the cellular dongle. Module state, main-loop thread only.

/// Starts listening for the dongle: at once when the telephony service is up, else as soon as
/// "memory/telephony/telephony_ready" changes.
void registerCellularEvents();
void deregisterCellularEvent();
