#include "Inventory.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <glib.h>
#include <malloc.h>

#include "Holdings.h"

#ifdef __SANITIZE_ADDRESS__
/// The sanitizer's own, whose header Debian has for another compiler only.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace soak {
namespace {

long EntriesOf(const char* directory) {
  return static_cast<long>(std::distance(std::filesystem::directory_iterator(directory),
                                         std::filesystem::directory_iterator()));
}

long HeapBytes() {
#ifdef __SANITIZE_ADDRESS__
  return static_cast<long>(__sanitizer_get_current_allocated_bytes());
#else
  const auto heap = mallinfo2();
  return static_cast<long>(heap.uordblks + heap.hblkhd);
#endif
}

long InotifyWatches() {
  long watches = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
    std::ifstream info(entry.path());
    for (std::string line; std::getline(info, line);) {
      watches += line.starts_with("inotify ") ? 1 : 0;
    }
  }
  return watches;
}

/// GLib tells nobody what sources a context has. Their numbers are given in order and none twice, so a
/// new one is greater than all, and each that lives is found by its number.
template <class Function>
void ForEachSource(Function function) {
  GMainContext* const context = g_main_context_default();
  const guint newest = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
  g_source_remove(newest);
  for (guint id = 1; id < newest; ++id) {
    if (GSource* const source = g_main_context_find_source_by_id(context, id); source != nullptr) {
      function(id, source);
    }
  }
}

}  // namespace

Inventory TakeInventory() {
  Inventory inventory;
  inventory[kHeapBytes] = HeapBytes();
  inventory["descriptors"] = EntriesOf("/proc/self/fd");
  inventory["threads"] = EntriesOf("/proc/self/task");
  inventory["inotify watches"] = InotifyWatches();
  ForEachSource([&](guint, GSource*) { ++inventory["GLib sources"]; });
  for (const auto& [kind, count] : holdings::Count()) {
    inventory[kind] = static_cast<long>(count);
  }
  return inventory;
}

long Allowance(const std::string& kind) {
  // Strings are longer on some days than on others.
  constexpr long kHeapNoise = 64L * 1024;
  static const std::map<std::string, long> allowances = {
      {kHeapBytes, kHeapNoise},
      // The access point that was last connected to from the tile, until the next one.
      // Where the network is to be joined anew with certificates, and the answer never comes, the daemon
      // waits for it for good and begins no second time: an access point, or a connection, with what it
      // has learnt of the profiles that there are, twice.
      {"access points", 2},
      {"connections", 1},
      {"profiles", 20},
      {"profile iterators", 2},
      // Those of the last list, which the platform ends with the next one.
      {"USB devices", 2},
  };
  const auto allowance = allowances.find(kind);
  return allowance == allowances.end() ? 0 : allowance->second;
}

std::vector<std::string> Growth(const Inventory& before, const Inventory& now) {
  std::vector<std::string> grown;
  for (const auto& [kind, count] : now) {
    const auto old = before.find(kind);
    const long first = old == before.end() ? 0 : old->second;
    if (count > first + Allowance(kind)) {
      grown.push_back(kind + ": " + std::to_string(first) + ", then " + std::to_string(count));
    }
  }
  return grown;
}

std::vector<unsigned> OverdueSources() {
  constexpr gint64 kSecondUs = 1'000'000;
  std::vector<unsigned> overdue;
  ForEachSource([&](guint id, GSource* source) {
    const gint64 due = g_source_get_ready_time(source);
    if (due > 0 && due + kSecondUs < g_get_monotonic_time()) {
      overdue.push_back(id);
    }
  });
  return overdue;
}

}  // namespace soak
