#include "PcapLibrary.h"

#include <dlfcn.h>

#include "PlatformLog.h"

namespace {

// Debian's name for it, and everybody else's; the functions are the same.
constexpr const char* kFiles[] = {"libpcap.so.0.8", "libpcap.so.1"};

template <class Function>
bool Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

}  // namespace

const PcapLibrary* PcapLibrary::Load() {
  static PcapLibrary pcap;
  static bool is_loaded = false;
  if (is_loaded) {
    return &pcap;
  }
  void* library = nullptr;
  for (const char* file : kFiles) {
    library = library != nullptr ? library : dlopen(file, RTLD_NOW | RTLD_LOCAL);
  }
  is_loaded = library != nullptr && Find(library, "pcap_create", pcap.create) &&
              Find(library, "pcap_set_snaplen", pcap.set_snaplen) &&
              Find(library, "pcap_set_timeout", pcap.set_timeout) &&
              Find(library, "pcap_set_buffer_size", pcap.set_buffer_size) &&
              Find(library, "pcap_activate", pcap.activate) &&
              Find(library, "pcap_setnonblock", pcap.setnonblock) &&
              Find(library, "pcap_datalink", pcap.datalink) &&
              Find(library, "pcap_get_selectable_fd", pcap.get_selectable_fd) &&
              Find(library, "pcap_dispatch", pcap.dispatch) && Find(library, "pcap_stats", pcap.stats) &&
              Find(library, "pcap_geterr", pcap.geterr) &&
              Find(library, "pcap_statustostr", pcap.statustostr) &&
              Find(library, "pcap_close", pcap.close);
  if (!is_loaded) {
    PLATFORM_LOG(DLOG_ERROR, "no capture: %s", dlerror());
    return nullptr;
  }
  return &pcap;
}
