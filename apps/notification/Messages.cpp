#include "Messages.h"

#include <glib.h>
#include <libintl.h>

/// Marks a string for xgettext where it cannot be translated yet.
#define N_(text) text

namespace {

/// In bytes. A whole message stays below PIPE_BUF with it, so that a pipe takes all of it or none.
constexpr std::size_t kLongestData = 1024;

constexpr Message kMessages[] = {
    {"ethernet_attached", N_("Network cable connected"),
     N_("A network cable was plugged into this device."), nullptr},
    {"ethernet_detached", N_("Network cable disconnected"),
     N_("Plug the network cable in again, or choose a wireless network in the network settings."),
     nullptr},
    {"dongle_attached", N_("Mobile network dongle connected"),
     N_("A mobile network dongle was plugged into this device."), nullptr},
    {"dongle_detached", N_("Mobile network dongle removed"),
     N_("The mobile network cannot be used until the dongle is plugged in again."), nullptr},
    {"captiveap", N_("Sign in to the network"),
     N_("This network asks you to sign in on a web page before it lets you use the internet."),
     N_("Sign-in page:")},
    {"quillhotspot", N_("No network connection"),
     N_("Use your phone to set up the network of this device through its hotspot."), nullptr},
    {"vesta_networksettings", N_("Network settings"),
     N_("Choose how this device connects to the network."), nullptr},
    {"cannot_connect", N_("Cannot connect to the network"),
     N_("Check that the access point is switched on and within reach, then try again."), nullptr},
    {"ShowWifiSpeakerPopup", N_("Wi-Fi speaker in use"),
     N_("Switching to another network interrupts the sound of your Wi-Fi speaker."), nullptr},
    {"StartTCPDump", N_("Packet capture started"),
     N_("Network traffic of this device is being recorded."), nullptr},
    {"StopTCPDump", N_("Packet capture stopped"),
     N_("Network traffic of this device is no longer recorded."), nullptr},
    {"TCPDumpAlreadyRunning", N_("Packet capture already running"),
     N_("Stop the running packet capture before you start another one."), nullptr},
    {"TCPDumpFailToStart", N_("Packet capture could not be started"),
     N_("Network traffic is not being recorded."), nullptr},
    {"TCPDumpFailToStop", N_("Packet capture could not be stopped"),
     N_("The recording may be incomplete or may still be running."), nullptr},
};

bool IsVisible(gunichar character) {
  const GUnicodeType type = g_unichar_type(character);
  return g_unichar_isgraph(character) && type != G_UNICODE_LINE_SEPARATOR &&
         type != G_UNICODE_PARAGRAPH_SEPARATOR && type != G_UNICODE_PRIVATE_USE;
}

}  // namespace

std::span<const Message> AllMessages() {
  return kMessages;
}

const Message* FindMessage(std::string_view keyword) {
  for (const Message& message : kMessages) {
    if (keyword == message.keyword) {
      return &message;
    }
  }
  return nullptr;
}

Text Translate(const Message& message, std::string_view data) {
  Text text{gettext(message.title), gettext(message.body)};
  if (message.data_label != nullptr && !data.empty()) {
    text.body.append(" ").append(gettext(message.data_label)).append(" ").append(Printable(data));
  }
  return text;
}

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    // The two highest values say that the bytes are no character, or only the start of one.
    const bool is_character = character < static_cast<gunichar>(-2);
    const std::size_t length =
        is_character ? static_cast<std::size_t>(g_utf8_next_char(text.data()) - text.data()) : 1;
    std::string shown(text.substr(0, length));
    if (!is_character || !IsVisible(character)) {
      shown.clear();
      for (const char byte : text.substr(0, length)) {
        g_autofree char* escaped = g_strdup_printf("%%%02X", static_cast<unsigned char>(byte));
        shown += escaped;
      }
    }
    if (printable.size() + shown.size() > kLongestData) {
      return printable + "…";
    }
    printable += shown;
    text.remove_prefix(length);
  }
  return printable;
}
