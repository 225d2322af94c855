#include "RestingMemory.h"

#include <cstdint>
#include <fstream>
#include <string>

#include <link.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sys/mman.h>
#include <unistd.h>

#include "NetworkService.h"

namespace {

constexpr guint kCalmSeconds = 20;

bool IsTraced() {
  std::ifstream status("/proc/self/status");
  for (std::string name, value; status >> name && std::getline(status, value);) {
    if (name == "TracerPid:") {
      return std::stol(value) != 0;
    }
  }
  return true;  // not known
}

/// Its code was changed when it was loaded, and cannot be read again from its file.
bool HasRelocatedCode(const dl_phdr_info& object) {
  for (ElfW(Half) i = 0; i < object.dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = object.dlpi_phdr[i];
    if (header.p_type != PT_DYNAMIC) {
      continue;
    }
    const auto* entry = reinterpret_cast<const ElfW(Dyn)*>(object.dlpi_addr + header.p_vaddr);
    for (; entry->d_tag != DT_NULL; ++entry) {
      if (entry->d_tag == DT_TEXTREL ||
          (entry->d_tag == DT_FLAGS && (entry->d_un.d_val & DF_TEXTREL) != 0)) {
        return true;
      }
    }
  }
  return false;
}

/// Of one program or library: all that nobody writes to.
int GiveBackObject(dl_phdr_info* object, std::size_t /*size*/, void* /*data*/) {
  if (HasRelocatedCode(*object)) {
    return 0;
  }
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  for (ElfW(Half) i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& header = object->dlpi_phdr[i];
    if (header.p_type != PT_LOAD || (header.p_flags & PF_W) != 0) {
      continue;
    }
    const std::uintptr_t begin = (object->dlpi_addr + header.p_vaddr) / page * page;
    const std::uintptr_t end = object->dlpi_addr + header.p_vaddr + header.p_memsz;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
  }
  return 0;
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
  if (IsTraced()) {
    return;
  }
#ifdef __GLIBC__
  malloc_trim(0);
#endif
  dl_iterate_phdr(GiveBackObject, nullptr);
}
