#pragma once

/// Takes up ModemManager, now or when it appears, and tells the sessions about the dongle.
void StartTelephony();
void StopTelephony();
