#pragma once

#include <map>
#include <string>
#include <vector>

namespace soak {

/// What a process holds at one moment, by kind: bytes of heap, descriptors, threads, GLib sources, and
/// what the daemon has of the TV.
using Inventory = std::map<std::string, long>;

inline constexpr char kHeapBytes[] = "heap bytes";

/// Taken on the main loop's thread.
Inventory TakeInventory();

/// By how much a kind may be more than it was after the first day: nothing, but for the few that
/// docs/testing.md explains.
long Allowance(const std::string& kind);

/// What has grown by more than that: "heap bytes: 1000, then 90000".
std::vector<std::string> Growth(const Inventory& before, const Inventory& now);

/// GLib sources of the default context whose time came more than a second ago and which were not called.
std::vector<unsigned> OverdueSources();

}  // namespace soak
