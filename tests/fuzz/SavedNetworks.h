#pragma once

#include <string>

#include <glib.h>

#include "FuzzStore.h"
#include "JsonText.h"
#include "SavedAPConnectionHandler.h"
#include "SavedNetworkPriorityHandler.h"
#include "VirtualTv.h"
#include "vconf.h"
#include "vconf_keys.h"

/// A room with three saved networks that are all in range, one of them hidden, where nothing takes time.
class FuzzRoom {
 public:
  FuzzRoom() {
    using Kind = VirtualTv::EventKind;
    VirtualTv& tv = VirtualTv::Instance();
    for (const Kind kind : {Kind::kScan, Kind::kChannelScan, Kind::kLook, Kind::kConnect, Kind::kAddress,
                            Kind::kDisconnect, Kind::kWifiState}) {
      tv.SetLatency(kind, 0);
    }
    wifi_initialize();
    Wifi& wifi = tv.GetWifi();
    wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:01", .essid = "Home", .frequency = 5180});
    wifi.AddRadio({.bssid = "AA:BB:CC:DD:EE:02", .essid = "Office", .frequency = 2437});
    wifi.AddRadio(
        {.bssid = "AA:BB:CC:DD:EE:03", .essid = "Attic", .is_hidden = true, .frequency = 2462});
    wifi.Save({.essid = "Home", .frequency = 5180});
    wifi.Save({.essid = "Office", .frequency = 2437});
    wifi.Save({.essid = "Attic", .frequency = 2462});
  }

  /// Lets everything happen that is due, and forgets what was called.
  static void Settle() {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    VirtualTv::Instance().ClearCalls();
  }

  /// A document that the daemon publishes can be read by everybody.
  static std::string Published(const char* key) {
    const std::string text = json_text::ReadKey(key);
    Json::Value document;
    Require(json_text::ReadStrictly(text, document));
    Require(document["count"].asInt() == static_cast<int>(document["values"].size()));
    for (const char c : text) {
      Require(static_cast<unsigned char>(c) < 0x80);
    }
    return text;
  }
};
