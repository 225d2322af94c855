#pragma once

/// Ends the platform's capture, if there is one, and finishes its file.
/// @return whether there is one that was finished
bool FinishCapture();
