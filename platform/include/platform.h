#pragma once

/// The life of the platform layer inside the daemon's process.

#ifdef __cplusplus
extern "C" {
#endif

/// Starts what a platform does of its own accord: on a PC, writing the keys that on a TV other services
/// write. Called once, on the main thread, after the main loop was created and before any other
/// platform function but the log's and vconf_get_str(), which static objects of the daemon call before
/// main(). It must not block: what is not there yet is taken up later.
/// @return 0, or a negative value when the platform starts without some of it; it logs why
int platform_start(void);

/// Undoes platform_start(). No callback is delivered after it returns.
void platform_stop(void);

#ifdef __cplusplus
}
#endif
