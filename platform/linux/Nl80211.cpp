#include "Nl80211.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include <glib-unix.h>
#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "PlatformLog.h"
#include "RadioElements.h"

namespace {

constexpr char kFamily[] = "nl80211";
/// Asking for a family that is not there makes the kernel look for a module, so this is looked at first.
constexpr char kDrivers[] = "/sys/class/ieee80211";
/// A frame and the kernel's own words about it; it sends as many together as fit.
constexpr std::size_t kMessageBytes = 32 * 1024;
constexpr timeval kAnswerLimit{.tv_sec = 1, .tv_usec = 0};

nl_sock* Connect() {
  nl_sock* socket = nl_socket_alloc();
  if (socket == nullptr) {
    return nullptr;
  }
  nl_socket_disable_msg_peek(socket);
  nl_socket_set_msg_buf_size(socket, kMessageBytes);
  if (genl_connect(socket) < 0) {
    nl_socket_free(socket);
    return nullptr;
  }
  return socket;
}

/// What one question came to.
struct Question {
  const std::function<void(nlattr**)>& take;
  bool is_answered = false;
  int result = 0;  // a negative errno
};

int OnAnswer(nl_msg* message, void* question) {
  std::array<nlattr*, NL80211_ATTR_MAX + 1> attributes{};
  if (genlmsg_parse(nlmsg_hdr(message), 0, attributes.data(), NL80211_ATTR_MAX, nullptr) == 0) {
    static_cast<Question*>(question)->take(attributes.data());
  }
  return NL_OK;
}

int OnDone(nl_msg* /*message*/, void* question) {
  static_cast<Question*>(question)->is_answered = true;
  return NL_STOP;
}

int OnRefusal(sockaddr_nl* /*from*/, nlmsgerr* error, void* question) {
  static_cast<Question*>(question)->is_answered = true;
  static_cast<Question*>(question)->result = error->error;
  return NL_STOP;
}

template <std::size_t Size>
std::array<nlattr*, Size> Nested(nlattr* attribute) {
  std::array<nlattr*, Size> attributes{};
  if (attribute == nullptr ||
      nla_parse_nested(attributes.data(), static_cast<int>(Size) - 1, attribute, nullptr) != 0) {
    attributes.fill(nullptr);
  }
  return attributes;
}

/// @return whether the attribute is there and as long as it must be
bool Has(const nlattr* attribute, int bytes) {
  return attribute != nullptr && nla_len(attribute) >= bytes;
}

std::optional<std::uint32_t> Number(const nlattr* attribute) {
  if (!Has(attribute, sizeof(std::uint32_t))) {
    return std::nullopt;
  }
  return nla_get_u32(attribute);
}

std::optional<int> SignedByte(const nlattr* attribute) {
  if (!Has(attribute, 1)) {
    return std::nullopt;
  }
  return static_cast<std::int8_t>(nla_get_u8(attribute));
}

int WidthOf(std::uint32_t width) {
  switch (width) {
    case NL80211_CHAN_WIDTH_20_NOHT:
    case NL80211_CHAN_WIDTH_20:
      return 20;
    case NL80211_CHAN_WIDTH_40:
      return 40;
    case NL80211_CHAN_WIDTH_80:
      return 80;
    case NL80211_CHAN_WIDTH_80P80:
    case NL80211_CHAN_WIDTH_160:
      return 160;
    default:
      return 0;
  }
}

std::optional<HeardRadio> HeardOf(nlattr* bss, gint64 now) {
  constexpr int kAddressBytes = 6;
  constexpr std::uint16_t kPrivacy = 0x0010;
  const auto attributes = Nested<NL80211_BSS_MAX + 1>(bss);
  const nlattr* const address = attributes[NL80211_BSS_BSSID];
  const auto frequency = Number(attributes[NL80211_BSS_FREQUENCY]);
  if (!Has(address, kAddressBytes) || !frequency) {
    return std::nullopt;
  }
  HeardRadio heard;
  const auto* const bytes = static_cast<const std::uint8_t*>(nla_data(address));
  std::array<char, 18> text{};
  g_snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1], bytes[2],
             bytes[3], bytes[4], bytes[5]);
  heard.radio.bssid = text.data();
  heard.radio.frequency = static_cast<int>(*frequency);
  if (const auto signal = Number(attributes[NL80211_BSS_SIGNAL_MBM])) {
    heard.radio.signal = static_cast<std::int32_t>(*signal) / 100;
  }
  heard.heard_at = now - Number(attributes[NL80211_BSS_SEEN_MS_AGO]).value_or(0) * gint64{1000};
  heard.is_connected = Number(attributes[NL80211_BSS_STATUS]) == NL80211_BSS_STATUS_ASSOCIATED;
  const nlattr* const capabilities = attributes[NL80211_BSS_CAPABILITY];
  const bool is_private = Has(capabilities, 2) && (nla_get_u16(capabilities) & kPrivacy) != 0;
  const nlattr* const elements = attributes[NL80211_BSS_INFORMATION_ELEMENTS] != nullptr
                                     ? attributes[NL80211_BSS_INFORMATION_ELEMENTS]
                                     : attributes[NL80211_BSS_BEACON_IES];
  std::span<const std::uint8_t> view;
  if (elements != nullptr) {
    view = {static_cast<const std::uint8_t*>(nla_data(elements)),
            static_cast<std::size_t>(nla_len(elements))};
  }
  radio_elements::Read(view, is_private, heard.radio);
  return heard;
}

}  // namespace

std::shared_ptr<Nl80211> Nl80211::Open() {
  if (access(kDrivers, F_OK) != 0) {
    return nullptr;
  }
  nl_sock* const socket = Connect();
  if (socket == nullptr) {
    return nullptr;
  }
  setsockopt(nl_socket_get_fd(socket), SOL_SOCKET, SO_RCVTIMEO, &kAnswerLimit, sizeof kAnswerLimit);
  const int family = genl_ctrl_resolve(socket, kFamily);
  if (family < 0) {
    nl_socket_free(socket);
    return nullptr;
  }
  return std::shared_ptr<Nl80211>(new Nl80211(socket, family));
}

Nl80211::~Nl80211() {
  StopListening();
  nl_socket_free(m_socket);
}

int Nl80211::Ask(int command, int index, int flags, const Fill& fill, const Take& take) {
  nl_msg* const request = nlmsg_alloc_size(kMessageBytes);
  if (request == nullptr) {
    return -ENOMEM;
  }
  genlmsg_put(request, NL_AUTO_PORT, NL_AUTO_SEQ, m_family, 0, flags, static_cast<std::uint8_t>(command),
              0);
  if (index != 0) {
    nla_put_u32(request, NL80211_ATTR_IFINDEX, static_cast<std::uint32_t>(index));
  }
  if (fill) {
    fill(request);
  }
  Question question{take};
  nl_cb* const callbacks = nl_cb_alloc(NL_CB_DEFAULT);
  nl_cb_set(callbacks, NL_CB_VALID, NL_CB_CUSTOM, OnAnswer, &question);
  nl_cb_set(callbacks, NL_CB_FINISH, NL_CB_CUSTOM, OnDone, &question);
  nl_cb_set(callbacks, NL_CB_ACK, NL_CB_CUSTOM, OnDone, &question);
  // A list that changed while it was read may lack an entry, or have one twice.
  nl_cb_set(
      callbacks, NL_CB_DUMP_INTR, NL_CB_CUSTOM, [](nl_msg*, void*) { return int(NL_OK); }, nullptr);
  // What is left of an answer that did not come in time is no answer to this question.
  nl_cb_set(
      callbacks, NL_CB_SEQ_CHECK, NL_CB_CUSTOM,
      [](nl_msg* message, void* number) {
        return nlmsg_hdr(message)->nlmsg_seq == *static_cast<std::uint32_t*>(number) ? int(NL_OK)
                                                                                     : int(NL_SKIP);
      },
      &nlmsg_hdr(request)->nlmsg_seq);
  nl_cb_err(callbacks, NL_CB_CUSTOM, OnRefusal, &question);
  int result = nl_send_auto(m_socket, request);
  while (result >= 0 && !question.is_answered) {
    result = nl_recvmsgs(m_socket, callbacks);
  }
  nl_cb_put(callbacks);
  nlmsg_free(request);
  return question.is_answered ? question.result : -EIO;
}

std::vector<Nl80211::Interface> Nl80211::Interfaces() {
  std::vector<Interface> interfaces;
  Ask(NL80211_CMD_GET_INTERFACE, 0, NLM_F_DUMP, nullptr, [&](nlattr** attributes) {
    const auto index = Number(attributes[NL80211_ATTR_IFINDEX]);
    const nlattr* const name = attributes[NL80211_ATTR_IFNAME];
    if (!index || name == nullptr || Number(attributes[NL80211_ATTR_IFTYPE]) != NL80211_IFTYPE_STATION) {
      return;
    }
    const auto width = Number(attributes[NL80211_ATTR_CHANNEL_WIDTH]);
    interfaces.push_back({static_cast<int>(*index), nla_get_string(name), width ? WidthOf(*width) : 0});
  });
  std::ranges::sort(interfaces, {}, &Interface::index);
  return interfaces;
}

std::vector<HeardRadio> Nl80211::Results(int index) {
  std::vector<HeardRadio> radios;
  const gint64 now = g_get_monotonic_time();
  Ask(NL80211_CMD_GET_SCAN, index, NLM_F_DUMP, nullptr, [&](nlattr** attributes) {
    if (attributes[NL80211_ATTR_BSS] == nullptr) {
      return;
    }
    if (auto heard = HeardOf(attributes[NL80211_ATTR_BSS], now)) {
      radios.push_back(std::move(*heard));
    }
  });
  return radios;
}

std::optional<int> Nl80211::StationSignal(int index) {
  std::optional<int> signal;
  Ask(NL80211_CMD_GET_STATION, index, NLM_F_DUMP, nullptr, [&](nlattr** attributes) {
    const auto station = Nested<NL80211_STA_INFO_MAX + 1>(attributes[NL80211_ATTR_STA_INFO]);
    const auto last = SignedByte(station[NL80211_STA_INFO_SIGNAL]);
    signal = last ? last : SignedByte(station[NL80211_STA_INFO_SIGNAL_AVG]);
  });
  return signal;
}

std::optional<int> Nl80211::Noise(int index, int frequency) {
  std::optional<int> noise;
  Ask(NL80211_CMD_GET_SURVEY, index, NLM_F_DUMP, nullptr, [&](nlattr** attributes) {
    const auto survey = Nested<NL80211_SURVEY_INFO_MAX + 1>(attributes[NL80211_ATTR_SURVEY_INFO]);
    if (Number(survey[NL80211_SURVEY_INFO_FREQUENCY]) == static_cast<std::uint32_t>(frequency)) {
      noise = SignedByte(survey[NL80211_SURVEY_INFO_NOISE]);
    }
  });
  return noise;
}

int Nl80211::TriggerScan(int index, const std::vector<int>& frequencies,
                         const std::vector<std::string>& names) {
  const Fill fill = [&](nl_msg* request) {
    int number = 0;
    if (!frequencies.empty()) {
      nlattr* const list = nla_nest_start(request, NL80211_ATTR_SCAN_FREQUENCIES);
      for (const int frequency : frequencies) {
        nla_put_u32(request, ++number, static_cast<std::uint32_t>(frequency));
      }
      nla_nest_end(request, list);
    }
    number = 0;
    nlattr* const list = nla_nest_start(request, NL80211_ATTR_SCAN_SSIDS);
    for (const std::string& name : names) {
      nla_put(request, ++number, static_cast<int>(name.size()), name.data());
    }
    nla_nest_end(request, list);
  };
  return Ask(NL80211_CMD_TRIGGER_SCAN, index, NLM_F_ACK, fill, [](nlattr**) {});
}

int Nl80211::AbortScan(int index) {
  return Ask(NL80211_CMD_ABORT_SCAN, index, NLM_F_ACK, nullptr, [](nlattr**) {});
}

bool Nl80211::Listen(ScanHandler handler) {
  m_handler = std::move(handler);
  m_caught.clear();
  if (m_events != nullptr) {
    return true;
  }
  const int group = genl_ctrl_resolve_grp(m_socket, kFamily, "scan");
  m_events = group < 0 ? nullptr : Connect();
  if (m_events == nullptr || nl_socket_add_membership(m_events, group) < 0 ||
      nl_socket_set_nonblocking(m_events) < 0) {
    PLATFORM_LOG(DLOG_ERROR, "no events of scans: %s", std::strerror(errno));
    StopListening();
    return false;
  }
  nl_socket_disable_seq_check(m_events);  // what nobody asked for has no sequence number
  nl_socket_modify_cb(m_events, NL_CB_VALID, NL_CB_CUSTOM, OnEvent, this);
  m_source = g_unix_fd_add(nl_socket_get_fd(m_events), G_IO_IN, OnReadable, this);
  return true;
}

void Nl80211::StopListening() {
  g_clear_handle_id(&m_source, g_source_remove);
  if (m_events != nullptr) {
    nl_socket_free(std::exchange(m_events, nullptr));
  }
  m_handler = nullptr;
}

gboolean Nl80211::OnReadable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  const auto nl80211 = static_cast<Nl80211*>(self)->shared_from_this();
  nl_recvmsgs_default(nl80211->m_events);
  const guint source = nl80211->m_source;
  for (const auto& [index, event] : std::exchange(nl80211->m_caught, {})) {
    const ScanHandler handler = nl80211->m_handler;
    handler(index, event);
    if (nl80211->m_source != source) {
      break;  // it stopped listening
    }
  }
  return G_SOURCE_CONTINUE;
}

int Nl80211::OnEvent(nl_msg* message, void* self) {
  const auto* const header = static_cast<const genlmsghdr*>(nlmsg_data(nlmsg_hdr(message)));
  const bool is_abort = header->cmd == NL80211_CMD_SCAN_ABORTED;
  if (!is_abort && header->cmd != NL80211_CMD_NEW_SCAN_RESULTS) {
    return NL_OK;
  }
  std::array<nlattr*, NL80211_ATTR_MAX + 1> attributes{};
  if (genlmsg_parse(nlmsg_hdr(message), 0, attributes.data(), NL80211_ATTR_MAX, nullptr) != 0) {
    return NL_OK;
  }
  if (const auto index = Number(attributes[NL80211_ATTR_IFINDEX])) {
    static_cast<Nl80211*>(self)->m_caught.push_back(
        {static_cast<int>(*index), is_abort ? ScanEvent::kAborted : ScanEvent::kResults});
  }
  return NL_OK;
}
