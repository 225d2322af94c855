#include "Evening.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <unistd.h>

#include "C5GhzSwitchHandler.h"
#include "Commands.h"
#include "Household.h"
#include "Inventory.h"
#include "Sandbox.h"
#include "ScenarioStep.h"
#include "SettingsFile.h"
#include "VirtualTv.h"
#include "Watch.h"
#include "vconf_keys.h"

namespace soak {
namespace {

using namespace std::chrono_literals;
using Kind = scenario::Step::Kind;
namespace fs = std::filesystem;

/// Longer than all that the daemon waits for by itself, with answers that take two minutes each.
constexpr auto kUntilAllIsQuiet = 20min;
constexpr char kSharedDirectory[] = "/home/owner/share";

constexpr char kStartCapture[] = "set memory/Pelorus/start_stop_TCPDump int 1";
constexpr char kStopCapture[] = "set memory/Pelorus/start_stop_TCPDump int 0";

constexpr VirtualTv::EventKind kEventKinds[] = {
    VirtualTv::EventKind::kCable,       VirtualTv::EventKind::kDongle,
    VirtualTv::EventKind::kReport,      VirtualTv::EventKind::kScan,
    VirtualTv::EventKind::kLook,        VirtualTv::EventKind::kConnect,
    VirtualTv::EventKind::kAddress,     VirtualTv::EventKind::kDisconnect,
    VirtualTv::EventKind::kChannelScan, VirtualTv::EventKind::kWifiState,
    VirtualTv::EventKind::kPortal,      VirtualTv::EventKind::kProfile,
    VirtualTv::EventKind::kStick,
};
constexpr WifiRequest kWifiRequests[] = {WifiRequest::kScan,       WifiRequest::kChannelScan,
                                         WifiRequest::kNameScan,   WifiRequest::kConnect,
                                         WifiRequest::kDisconnect, WifiRequest::kPortal};

struct NewTv {
  std::map<VirtualTv::EventKind, unsigned> latencies;
  Internet::Addresses wired;
  Internet::Addresses cellular;
  int lease_seconds;
  int snr;
};
NewTv g_new_tv;

bool CreateFile(const std::string& path) {
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  std::ofstream file(path);
  file << "left by a soak\n";
  file.close();
  return !error && file;
}

void Require(bool is_so, const std::string& kind, const std::string& details) {
  if (!is_so) {
    watch::Fail(kind, details);
  }
}

void HealFunctions(VirtualTv& tv) {
  for (const auto& [function, failure] : tv.Failures()) {
    tv.StopFailing(function);
  }
  for (const WifiRequest request : kWifiRequests) {
    tv.GetWifi().FailNext(request, 0);
  }
  tv.GetWiredProfile().FailNext(0);
  for (const VirtualTv::EventKind kind : kEventKinds) {
    tv.SetLatency(kind, g_new_tv.latencies[kind]);
    tv.DelayNext(kind, 0);
  }
}

void RemoveSettings() {
  for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
    if (const auto path = settings::PathOf(std::string(entry.name).c_str())) {
      unlink(path->c_str());
    }
  }
}

/// The capture is not stopped by way of the daemon, which may have given up one that it could not stop.
void ClearSticksAndCapture(VirtualTv& tv) {
  tv.GetCapture().Stop();
  tv.GetCapture().SetFileSize(PacketCapture::kDefaultBytes);
  const std::vector<UsbSockets::Stick> sticks = tv.GetUsbSockets().Sticks();
  for (const UsbSockets::Stick& stick : sticks) {
    tv.GetUsbSockets().Remove(stick.product);
  }
}

void ClearTheRoom(VirtualTv& tv) {
  ClearSticksAndCapture(tv);
  tv.GetSettingsApp().Close();
  tv.GetSettingsApp().SetAnswer(SettingsApp::Answer::kNone);
  tv.UnplugCable();
  tv.RemoveDongle();
  tv.StopTelephony();
  tv.SetSpeakerSelection(0);
  Wifi& wifi = tv.GetWifi();
  const std::vector<Radio> radios = wifi.Radios();
  for (const Radio& radio : radios) {
    wifi.RemoveRadio(radio.bssid);
  }
  const std::vector<SavedNetwork> saved = wifi.Saved();
  for (const SavedNetwork& network : saved) {
    wifi.Forget(network.essid);
  }
  wifi.SetSnr(g_new_tv.snr);
  Internet& internet = tv.GetInternet();
  internet.SetGateway(true);
  internet.SetDns(true);
  internet.SetHttp(true);
  internet.SetHotspot(0);
  internet.SetLeaseSeconds(g_new_tv.lease_seconds);
  internet.SetWiredAddresses(g_new_tv.wired);
  internet.SetCellularAddresses(g_new_tv.cellular);
  const std::set<std::string> packages = tv.GetPackages().List();
  for (const std::string& package : packages) {
    tv.GetPackages().Remove(package);
  }
}

/// A line of a scenario.
void Order(const std::string& line) {
  std::istringstream text("at 0s " + line);
  std::vector<std::string> errors;
  const scenario::Scenario scenario = scenario::Parse("soak", text, errors);
  Require(errors.empty() && Do(scenario.steps.front()), "soak", "cannot be done: " + line);
}

void Restore(const scenario::Scenario& furnishing) {
  VirtualTv& tv = VirtualTv::Instance();
  HealFunctions(tv);
  RemoveSettings();
  ClearTheRoom(tv);
  watch::ClosePopup();
  sandbox::InstallPopupRecorder();
  for (const auto& entry : fs::directory_iterator(kSharedDirectory)) {
    fs::remove_all(entry.path());
  }
  for (const scenario::Step& step : furnishing.steps) {
    Require(Do(step), "soak", "the room cannot be furnished: " + step.text);
  }
}

/// A question that nobody has answered all day is declined at last.
void AnswerTheQuestion() {
  if (GetPOCInstance()->GetState() == STATE_SHOWPOPUP) {
    Order(std::string("set ") + vconf_keys::kLaunchNS + " string CANCELPRESSED");
  }
}

/// Where it connects it waits for a limited time. It may stay where it looks for an access point, when a
/// scan was refused, and where it waits for an answer, when the daemon was not let hear of one.
void MustRest() {
  const OPERATIONSTATE state = GetPOCInstance()->GetState();
  Require(state == STATE_IDLE || state == STATE_INIT || state == STATE_SHOWPOPUP, "no rest",
          "the move to 5 GHz is in state " + std::to_string(state));
  const auto overdue = OverdueSources();
  Require(overdue.empty(), "overdue timer",
          std::to_string(overdue.size()) + " GLib sources whose time has come were not called");
}

void MustHavePopup(const char* keyword) {
  const std::string shown = watch::TakeKeyword();
  Require(shown == keyword, "exam: popup", std::string("expected ") + keyword + ", shown: " + shown);
  watch::ClosePopup();
}

void MustHaveKey(const char* key, const std::string& value) {
  const std::string held = scenario::ReadKey(key).value_or("(nothing)");
  Require(held == value, std::string("exam: ") + key, "expected " + value + ", found " + held);
}

void MustCapture(bool is_running) {
  Require(VirtualTv::Instance().GetCapture().IsRunning() == is_running, "exam: capture",
          is_running ? "none runs" : "it still runs");
  MustHaveKey(vconf_keys::kTcpDumpRunningStatus, is_running ? "1" : "0");
}

void MustHold(Kind kind, const std::vector<std::string>& names, const char* what) {
  scenario::Step step;
  step.kind = kind;
  step.fragments = names;
  scenario::KpiRecords none;
  const auto outcome = scenario::Play(step, {}, none);
  Require(outcome.kind == scenario::Outcome::Kind::kDone, std::string("exam: ") + what, outcome.why);
}

void MustBeConnected(const char* bssid) {
  const std::string connected = VirtualTv::Instance().GetWifi().ConnectedBssid();
  Require(connected == bssid, "exam: wifi", "expected " + std::string(bssid) + ", found " + connected);
}

/// The daemon shows that it still does what it is there for.
Acts Exam() {
  return {
      {0s, [] { watch::LookAtJournal(); }},
      {0s, [] { watch::TakeKeyword(); }},
      {0s, [] { Order("cable plug"); }},
      {1s, [] { MustHavePopup("ethernet_attached"); }},
      {1s, [] { Order("cable unplug"); }},
      {1s, [] { MustHavePopup("ethernet_detached"); }},
      {1s, [] { Order("telephony start"); }},
      {1s, [] { MustHavePopup("dongle_detached"); }},
      {1s, [] { Order("dongle insert"); }},
      {1s, [] { MustHavePopup("dongle_attached"); }},
      {1s, [] { Order("dongle remove"); }},
      {1s, [] { MustHavePopup("dongle_detached"); }},
      {1s, [] { Order(kStartCapture); }},
      {1s, [] { MustHavePopup("StartTCPDump"); }},
      {0s, [] { MustCapture(true); }},
      {1s, [] { Order(kStopCapture); }},
      {1s, [] { MustHavePopup("StopTCPDump"); }},
      {0s, [] { MustCapture(false); }},
      {1s, [] { Order("settings-app open"); }},
      {1s, [] { Order("settings-app reset"); }},
      {5s, [] { MustHold(Kind::kExpectSaved, {}, "saved networks after a reset"); }},
      {0s, [] { Order("wifi drop"); }},
      {5s, [] { Order(std::string("wifi connect ") + kHome); }},
      {20s, [] { MustBeConnected(kHome); }},
      {0s, [] { MustHold(Kind::kExpectSaved, {"Home"}, "saved networks"); }},
      {0s, [] { MustHold(Kind::kExpectTop, {"Home=Connected"}, "top networks"); }},
      {0s, [] { MustHaveKey(vconf_keys::kAuto5GhzSwitchSettings, "1"); }},
      {0s, [] { Order("settings-app answer confirm 1s"); }},
      {0s, [] { Order("settings-app ask"); }},
      {30s, [] { MustBeConnected(kFastHome); }},
      {0s,
       [] {
         Require(GetPOCInstance()->GetState() == STATE_IDLE, "exam: 5 GHz", "the move does not end");
       }},
      {0s, [] { Order("settings-app close"); }},
      {0s, [] { Order("internet gateway off"); }},
      {2s, [] { MustHaveKey(vconf_keys::kInternetStatus, "OFFLINE"); }},
      {0s, [] { Order("internet gateway on"); }},
      {2s, [] { MustHaveKey(vconf_keys::kInternetStatus, "ONLINE"); }},
      {1min, [] { Require(watch::LookAtJournal() >= 2, "exam: records", "too few were handed over"); }},
  };
}

}  // namespace

void RememberTheNewTv() {
  VirtualTv& tv = VirtualTv::Instance();
  for (const VirtualTv::EventKind kind : kEventKinds) {
    g_new_tv.latencies[kind] = tv.LatencyMs(kind);
  }
  g_new_tv.wired = tv.GetInternet().WiredAddresses();
  g_new_tv.cellular = tv.GetInternet().CellularAddresses();
  g_new_tv.lease_seconds = tv.GetInternet().LeaseSeconds();
  g_new_tv.snr = tv.GetWifi().Snr();
}

bool Do(const scenario::Step& step) {
  switch (step.kind) {
    case Kind::kClosePopup:
      return watch::ClosePopup();
    case Kind::kRemovePopupProgram:
      return fs::remove(sandbox::kNotificationProgram);
    case Kind::kCreateFile:
      return CreateFile(step.subject);
    default:
      break;
  }
  static scenario::KpiRecords records;
  const auto outcome = scenario::Play(
      step,
      [](const Json::Value& request) { return tv_commands::Execute(VirtualTv::Instance(), request); },
      records);
  return outcome.kind == scenario::Outcome::Kind::kDone;
}

Acts Evening(const scenario::Scenario& furnishing) {
  Acts acts = {
      {1s, [&furnishing] { Restore(furnishing); }},
      {kUntilAllIsQuiet, AnswerTheQuestion},
      {5min, MustRest},
      // What came in the meantime may have left something on the screen.
      {0s, [&furnishing] { Restore(furnishing); }},
      {5min, [] {}},
  };
  const Acts exam = Exam();
  acts.insert(acts.end(), exam.begin(), exam.end());
  return acts;
}

}  // namespace soak
