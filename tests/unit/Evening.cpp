#include "Evening.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "ConnectionHandles.h"
#include "Journal.h"
#include "Pelorus.h"
#include "Popups.h"
#include "Sandbox.h"
#include "SavedNetworksRoom.h"
#include "SettingsFile.h"
#include "TestLog.h"
#include "VirtualClock.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr char kHome[] = "AA:BB:CC:DD:EE:01";
constexpr char kHome5G[] = "AA:BB:CC:DD:EE:05";
constexpr char kOffice[] = "AA:BB:CC:DD:EE:02";
constexpr char kNewNetwork[] = "AA:BB:CC:DD:EE:06";
constexpr char kRoot[] = "/home/owner/share/Root/ca.pem";
constexpr char kCopied[] = "/home/owner/share/connmancertpath/ca.pem";
constexpr char kWifiMarker[] = "/home/owner/share/wifi_mode";
constexpr char kOnStick[] = "/opt/usr/data/usb/blue/tcpdump-[time].pcap";
constexpr int kThreeHoursSeconds = 10'800;

void SetText(const char* key, const char* value) {
  ASSERT_EQ(settings::Write(key, g_variant_new_string(value)), 0) << key;
}
void SetNumber(const char* key, int value) {
  ASSERT_EQ(settings::Write(key, g_variant_new_int32(value)), 0) << key;
}
/// @return as text; "(none)" when there is none
std::string Number(const char* key) {
  const auto value = settings::ReadNumber(key);
  return value ? std::to_string(*value) : "(none)";
}
std::string Text(const char* key) {
  return settings::ReadText(key).value_or("(none)");
}

/// The networks of a published document, each with one member; empty when there is no document.
std::string Brief(const char* key, const char* member) {
  const std::string document = Text(key);
  return document == "(none)" ? "" : SavedNetworksRoom::Brief(document, member);
}

/// Waits in real time, without running the main loop.
bool WaitFor(const std::function<bool()>& fact) {
  for (int looks = 0; looks < 4'000; ++looks) {
    if (fact()) {
      return true;
    }
    usleep(500);
  }
  return false;
}

/// How many programs were started, by the daemon's own word, which comes before theirs.
/// @param launcher  how its log lines begin
std::size_t CountSpawned(const std::vector<std::string>& log, std::string_view launcher) {
  return static_cast<std::size_t>(std::ranges::count_if(log, [&](const std::string& line) {
    return line.starts_with(launcher) && line.find(") > posix_spawn ret 0 pid ") != std::string::npos;
  }));
}

void After(int seconds, std::function<void()> what) {
  g_timeout_add_full(
      G_PRIORITY_DEFAULT, static_cast<guint>(seconds) * 1000,
      [](gpointer function) -> gboolean {
        (*static_cast<std::function<void()>*>(function))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(what)),
      [](gpointer function) { delete static_cast<std::function<void()>*>(function); });
}

std::function<void(GMainLoop*)> g_on_loop;

}  // namespace

/// The daemon keeps its loop to itself; this is how the evening comes by it.
extern "C" GMainLoop* g_main_loop_new(GMainContext* context, gboolean is_running) {
  using Function = GMainLoop* (*)(GMainContext*, gboolean);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_main_loop_new"));
  GMainLoop* const loop = real(context, is_running);
  if (auto on_loop = std::exchange(g_on_loop, nullptr)) {
    on_loop(loop);
  }
  return loop;
}

Evening::Evening() {
  sandbox::InstallSoftapManagerRecorder();
  m_tv.SetFeature("product.b2b_option_support", "true");
  m_tv.SetFeature("network.network_support", "1");
  m_tv.GetPackages().Install("org.orvik.browser");
  m_tv.StartTelephony();
  m_wifi.AddRadio(
      {.bssid = kHome, .essid = "Home", .passphrase = "h", .rssi = -62, .portal_url = "http://portal/"});
  m_wifi.AddRadio({.bssid = kHome5G,
                   .essid = "Home 5G",
                   .frequency = 5220,
                   .passphrase = "h",
                   .bandwidth = 80,
                   .mode = WIFI_MANAGER_CONNECTION_MODE_80211AC});
  m_wifi.AddRadio({.bssid = kOffice,
                   .essid = "Office",
                   .frequency = 2462,
                   .security = WIFI_SECURITY_TYPE_EAP,
                   .passphrase = "c"});
  m_wifi.AddRadio({.bssid = kNewNetwork, .essid = "New", .frequency = 2412, .passphrase = "n"});
  m_wifi.Save({"Garden", WIFI_SECURITY_TYPE_WPA2_PSK, "g", 2412});
  m_wifi.Save({"Office", WIFI_SECURITY_TYPE_EAP, "c", 2462});
  m_wifi.Save({"Home 5G", WIFI_SECURITY_TYPE_WPA2_PSK, "h", 5220});
  m_wifi.SeeAll();
  m_wifi.Join(kHome);
  m_tv.GetInternet().SetGateway(false);
  m_tv.GetUsbSockets().Insert({.product = "blue", .directory = "/opt/usr/data/usb/blue"});
  SetNumber(vconf_keys::kDisclaimerAgree, 1);
  SetNumber(vconf_keys::kTetheringStatus, 1);
  fs::create_directories(fs::path(kRoot).parent_path());
  Write();
}

void Evening::Write() {
  WriteHome();
  WriteNetworks();
  WriteTools();
  WriteEnd();
}

void Evening::WriteHome() {
  // Read before the manager starts, whose launcher takes over what is told of programs that end.
  Add(0, [] {}, {{"the popup of a dongle that is missing at the start", [this] {
                    return HasPopup("dongle_detached");
                  }}});
  // The gateway comes late, so that tethering has nothing to share at the start.
  Add(3, [] {},
      {{"the soft access point manager", [] { return !popups::SoftapManagers().empty(); }},
       {"tethering stored as off", [] { return Number(vconf_keys::kTetheringStatus) == "0"; }}});
  Add(9, [this] { m_tv.GetInternet().SetGateway(true); },
      {{"the portal's popup", [this] { return HasPopup("captiveap"); }},
       {"the report of the network at the start", [this] { return HasRecord("WIFI_RSSI"); }}});
  Add(5,
      [this] {
        m_wifi.FindRadio(kHome)->portal_url.clear();
        m_tv.GetInternet().SetHttp(false);
      },
      {{"the word OFFLINE", [] { return Text(vconf_keys::kInternetStatus) == "OFFLINE"; }}});
  Add(5, [this] { m_tv.GetInternet().SetHttp(true); },
      {{"the word ONLINE", [] { return Text(vconf_keys::kInternetStatus) == "ONLINE"; }}});
  Add(10, [this] { m_tv.PlugCable(); },
      {{"the popup of a cable plugged in", [this] { return HasPopup("ethernet_attached"); }},
       {"the report of the wired network", [this] { return HasRecord("ETHERNET"); }},
       {"the end of the Wi-Fi marker", [] { return !fs::exists(kWifiMarker); }}});
  Add(10, [this] { m_tv.UnplugCable(); },
      {{"the popup of a cable pulled out", [this] { return HasPopup("ethernet_detached"); }},
       {"the Wi-Fi marker", [] { return fs::exists(kWifiMarker); }}});
  Add(10, [this] { m_tv.InsertDongle(); },
      {{"the popup of a dongle put in", [this] { return HasPopup("dongle_attached"); }}});
  Add(10, [this] { m_tv.RemoveDongle(); },
      {{"the popup of a dongle pulled out", [this] { return HasPopup("dongle_detached"); }}});
}

void Evening::WriteNetworks() {
  SettingsApp& app = m_tv.GetSettingsApp();
  Add(60,
      [&app] {
        app.Watch();
        app.SetAnswer(SettingsApp::Answer::kConfirm);
        app.Open();
        app.Ask();
      },
      {{"the move to 5 GHz on request", [this] { return IsOn(kHome5G); }},
       {"the report of that move", [this] { return HasRecord("WIFI_BANDSWITCH"); }}});
  Add(10, [this] { m_wifi.Connect(kHome5G); }, {});  // who is there already stays there
  Add(60, [&app] { app.Connect("Home"); },
      {{"the connection to a saved network", [this] { return IsOn(kHome); }},
       {"the connected network on the tile",
        [] { return Brief(vconf_keys::kTopSavedAP, "STATUS").starts_with("Home:Connected"); }},
       {"the connected network first in the list",
        [] { return Brief(vconf_keys::kSavedAPList, "SIGNAL_STRENGTH").starts_with("Home:"); }}});
  Add(60,
      [this, &app] {
        m_wifi.SetOn(kHome5G, false);
        app.Connect("Home 5G");
      },
      {{"the popup of a network that is gone", [this] { return HasPopup("cannot_connect"); }}});
  Add(10,
      [this, &app] {
        m_wifi.Forget("Garden");
        app.TellForgotten();
      },
      {{"the list without a forgotten network", [] {
          const std::string list = Brief(vconf_keys::kSavedAPList, "SIGNAL_STRENGTH");
          return !list.empty() && list.find("Garden") == std::string::npos;
        }}});
  Add(60,
      [this, &app] {
        app.Close();
        m_wifi.SetOn(kHome5G, true);
        m_wifi.SeeAll();
        m_wifi.Join(kHome);
        SetText(vconf_keys::kAuto5GhzSwitchSettings, "1");
        SetNumber(vconf_keys::kStreamingBuffer, 1);
      },
      {{"the report of the player's trouble", [this] { return HasRecord("AWM"); }},
       {"the move to 5 GHz for the player", [this] { return IsOn(kHome5G); }}});
  Add(20, [this] { m_wifi.Connect(kNewNetwork); },
      {{"the report of a new network", [this] { return HasRecord("WIFI_ENV"); }},
       {"its name in the settings", [] { return Text(vconf_keys::kApName) == "New"; }}});
}

void Evening::WriteTools() {
  Add(20, [this] { m_wifi.Connect(kOffice); }, {});
  Add(20,
      [] {
        std::ofstream(kRoot) << "certificate\n";
        SetText(vconf_keys::kEapCertificateStatus, "installed");
      },
      {{"the copy of a certificate", [] { return fs::exists(kCopied); }},
       {"the connection renewed for it", [this] { return IsOn(kOffice) && HasRenewed(); }}});
  Add(20, [this] { m_tv.PlugCable(); },
      {{"the popup of the cable of an office", [this] { return HasPopup("ethernet_attached"); }}});
  Add(20, [] { SetText(vconf_keys::kEapCertificateStatus, "installed"); },
      {{kWiredRenewal, [this] { return HasRenewed(); }}});
  Add(10, [this] { m_tv.UnplugCable(); },
      {{"the popup of that cable pulled out", [this] { return HasPopup("ethernet_detached"); }}});
  Add(20, [this] { m_wifi.Connect(kHome); }, {});
  Add(10, [] { SetNumber(vconf_keys::kStartStopTcpDump, 1); },
      {{"the popup of a capture that starts", [this] { return HasPopup("StartTCPDump"); }}});
  Add(10, [] { SetNumber(vconf_keys::kStartStopTcpDump, 0); },
      {{"the popup of a capture that stops", [this] { return HasPopup("StopTCPDump"); }},
       {"the capture on the stick", [] { return fs::exists(kOnStick); }}});
  Add(10, [] { SetText(vconf_keys::kPelorusCommand, "wifi_on_off_popup_yespressed_kpi"); },
      {{"the report of a choice in another program",
        [this] { return HasRecord("WIFI_POP_UP_SELECT"); }}});
  Add(10,
      [] {
        SetText(vconf_keys::kWirelessKpiInfo,
                R"({"id":"EV011","execution_method":"manual","marquee_test_result":"success"})");
      },
      {{"the report of another program's test", [this] { return HasRecord("MARQUEE_TEST_RESULT"); }}});
  Add(kThreeHoursSeconds, [] {},
      {{"the report of the environment", [this] { return HasRecord("WIRELESS_ENVIRONMENT"); }}});
}

void Evening::WriteEnd() {
  Add(10, [] { SetText(vconf_keys::kLaunchNS, "LaunchNS"); },
      {{"the settings screen", [this] { return HasPopup("vesta_networksettings"); }}});
  Add(10, [] { SetNumber(vconf_keys::kFactoryReset, 1); },
      {{"the certificates removed at a reset", [] { return !fs::exists(kRoot); }},
       {"the saved networks forgotten at a reset", [] {
          return Text(vconf_keys::kSavedAPList).empty() && Text(vconf_keys::kTopSavedAP).empty();
        }}});
  Add(10,
      [this] {
        m_on_late();
        m_tv.PlugCable();
      },
      {{kCableAfterwards, [this] { return HasPopup("ethernet_attached"); }}});
  Add(10, [] { SetText(vconf_keys::kLaunchNS, "LaunchNS"); },
      {{kScreenAfterwards, [this] { return HasPopup("vesta_networksettings"); }}});
}

void Evening::Add(int seconds, std::function<void()> act, std::vector<Outcome> outcomes) {
  m_chapters.push_back({seconds, std::move(act), std::move(outcomes)});
}

void Evening::Play(std::function<void()> on_started, std::function<void()> on_late,
                   std::function<void()> on_stop) {
  m_on_late = std::move(on_late);
  g_on_loop = [this, on_started, on_stop](GMainLoop* loop) {
    int at = 0;
    After(0, on_started);
    for (const Chapter& chapter : m_chapters) {
      After(at, chapter.act);
      at += chapter.seconds;
      After(at, [this, &chapter] { End(chapter); });
    }
    After(at + 1, [loop, on_stop] {
      on_stop();
      g_main_loop_quit(loop);
    });
    virtual_clock::SetHorizon(virtual_clock::Now() + std::chrono::seconds(at + 2));
  };
  EXPECT_EQ(PelorusMain(), 0);
  for (const popups::Started& manager : popups::SoftapManagers()) {
    kill(manager.pid, SIGTERM);
  }
}

void Evening::End(const Chapter& chapter) {
  GatherPopups();
  const std::vector<std::string> records = journal::Texts("event");
  m_records.assign(records.begin() + static_cast<std::ptrdiff_t>(m_record_count), records.end());
  m_record_count = records.size();
  for (const Outcome& outcome : chapter.outcomes) {
    if (outcome.is_so()) {
      m_seen.insert(outcome.name);
    }
  }
  std::ranges::move(m_popups, std::back_inserter(m_surprises));
  m_popups.clear();
}

void Evening::GatherPopups() {
  const auto log = test_log::Lines();
  const std::size_t spawned = CountSpawned(log, "NotiProxy.cpp: ");
  EXPECT_TRUE(WaitFor([&] { return popups::All().size() >= spawned; }));
  const std::size_t managers = CountSpawned(log, "SoftapProxy.cpp: ");
  EXPECT_TRUE(WaitFor([&] { return popups::SoftapManagers().size() >= managers; }));
  const auto started = popups::All();
  for (std::size_t i = m_popup_count; i < started.size(); ++i) {
    m_popups.push_back(started[i].arguments.at(0));
    kill(started[i].pid, SIGTERM);
    EXPECT_TRUE(WaitFor([&] { return kill(started[i].pid, 0) != 0; })) << "it is not reaped";
  }
  m_popup_count = started.size();
  // One that is up is given the next keyword; one that is gone is not there to read it.
  std::vector<std::string> words;
  for (const VirtualTv::Call& call : m_tv.Calls("vconf_set_str")) {
    if (call.arguments.at(0) == vconf_keys::kPelorusCommand) {
      words.push_back(call.arguments.at(1));
    }
  }
  if (!m_popups.empty()) {
    m_popups.insert(m_popups.end(), words.begin() + static_cast<std::ptrdiff_t>(m_word_count),
                    words.end());
  }
  m_word_count = words.size();
}

std::vector<std::string> Evening::Expected() const {
  std::vector<std::string> names;
  for (const Chapter& chapter : m_chapters) {
    for (const Outcome& outcome : chapter.outcomes) {
      names.push_back(outcome.name);
    }
  }
  return names;
}

std::map<std::string, std::size_t> Evening::Handles() {
  return {
      {"connections", CountConnectionHandles()},
      {"access points", m_wifi.Handles().Count()},
      {"Wi-Fi managers", m_wifi.Managers().Count()},
      {"packages", m_tv.GetPackages().GetHandles().Count()},
      {"lists of sticks", m_tv.GetUsbSockets().GetLists().Count()},
      {"sticks", m_tv.GetUsbSockets().GetDevices().Count()},
  };
}

bool Evening::HasPopup(const std::string& keyword) {
  const auto found = std::ranges::find(m_popups, keyword);
  if (found == m_popups.end()) {
    return false;
  }
  m_popups.erase(found);
  return true;
}

bool Evening::HasRecord(const std::string& event) const {
  return std::ranges::find(m_records, event) != m_records.end();
}

bool Evening::HasRenewed() {
  const std::size_t before = std::exchange(m_renewal_count, test_log::Count("{EAP} result =>>1"));
  return m_renewal_count > before;
}

bool Evening::IsOn(const char* bssid) {
  return m_wifi.ConnectedBssid() == bssid;
}
