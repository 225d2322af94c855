#pragma once

/// The popup ignore window: the seconds after start-up and after instant-on in which the log says that
/// cable and dongle events came early. It decides nothing but whether a model has a wired network at
/// all. Module state, main-loop thread only.

/// Opens the window for 30 seconds and listens for instant-on and instant-off. The first call counts,
/// later ones change nothing until UnRegisterIgnorePopup().
void RegisterIgnorePopup();
void UnRegisterIgnorePopup();

/// Restarts the window from zero.
void __Start_PopupIgnore_Timer(int timeoutSeconds);

/// Ends the window's timer, if it runs.
void StopIgnoreTimer();

/// @param type  the eNetworkType of the event: wired for the cable, cellular for the dongle
/// @return whether the event is to be dropped, which is so for the cable of a model without wired
/// network
bool IsIgnoreCondition(int type);
