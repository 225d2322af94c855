#pragma once

#include <pcap/pcap.h>

/// The functions of libpcap that a capture needs. The library is loaded with the first capture and not
/// with the daemon: it brings nine other libraries along, which would more than double the time that the
/// daemon takes to start, and a TV whose packets nobody captures would keep them in memory.
struct PcapLibrary {
  /// @return null when it is not installed; logged. Main-loop thread only; what it returns is for any.
  static const PcapLibrary* Load();

  decltype(&pcap_create) create;
  decltype(&pcap_set_snaplen) set_snaplen;
  decltype(&pcap_set_timeout) set_timeout;
  decltype(&pcap_set_buffer_size) set_buffer_size;
  decltype(&pcap_activate) activate;
  decltype(&pcap_setnonblock) setnonblock;
  decltype(&pcap_datalink) datalink;
  decltype(&pcap_get_selectable_fd) get_selectable_fd;
  decltype(&pcap_dispatch) dispatch;
  decltype(&pcap_stats) stats;
  decltype(&pcap_geterr) geterr;
  decltype(&pcap_statustostr) statustostr;
  decltype(&pcap_close) close;
};
