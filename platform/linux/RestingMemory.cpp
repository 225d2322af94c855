#include "RestingMemory.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sys/mman.h>

#include "NetworkService.h"

namespace {

constexpr guint kCalmSeconds = 20;

/// A mapping of this process, as the kernel describes it.
struct Mapping {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  bool is_of_file = false;
  bool is_writable = false;
  bool was_changed = false;
};

/// Reads "55e0a3c00000-55e0a3c42000 r--p 00000000 fe:01 1234   /usr/bin/pelorus".
bool ReadMapping(const std::string& line, Mapping& mapping) {
  char permissions[5] = "";
  unsigned long inode = 0;
  if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s %*x %*x:%*x %lu", &mapping.begin,
                  &mapping.end, permissions, &inode) != 4) {
    return false;
  }
  mapping.is_of_file = inode != 0;
  mapping.is_writable = permissions[1] == 'w' || permissions[3] == 's';
  return true;
}

/// Whether a line of its description tells of pages that are not the file's any more: of a relocation, a
/// debugger's breakpoint, a probe.
bool TellsOfChange(const std::string& line) {
  unsigned long kilobytes = 0;
  return (std::sscanf(line.c_str(), "Anonymous: %lu", &kilobytes) == 1 ||
          std::sscanf(line.c_str(), "Swap: %lu", &kilobytes) == 1) &&
         kilobytes > 0;
}

void GiveBackMapping(const Mapping& mapping) {
  if (mapping.is_of_file && !mapping.is_writable && !mapping.was_changed) {
    madvise(reinterpret_cast<void*>(mapping.begin), mapping.end - mapping.begin, MADV_DONTNEED);
  }
}

}  // namespace

RestingMemory& RestingMemory::Instance() {
  static auto* const memory = new RestingMemory;
  return *memory;
}

void RestingMemory::Start() {
  NetworkService::Instance().AddListener(this, [this] { OnChange(); });
  OnChange();
}

void RestingMemory::Stop() {
  NetworkService::Instance().RemoveListener(this);
  g_clear_handle_id(&m_timer, g_source_remove);
}

void RestingMemory::OnChange() {
  g_clear_handle_id(&m_timer, g_source_remove);
  const auto give_back = [](gpointer self) -> gboolean {
    static_cast<RestingMemory*>(self)->m_timer = 0;
    GiveBack();
    return G_SOURCE_REMOVE;
  };
  m_timer = g_timeout_add_seconds(kCalmSeconds, give_back, this);
}

void RestingMemory::GiveBack() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
  std::ifstream mappings("/proc/self/smaps");
  Mapping mapping;
  for (std::string line; std::getline(mappings, line);) {
    Mapping next;
    if (ReadMapping(line, next)) {
      GiveBackMapping(mapping);
      mapping = next;
    } else {
      mapping.was_changed = mapping.was_changed || TellsOfChange(line);
    }
  }
  GiveBackMapping(mapping);
}
