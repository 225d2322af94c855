#include <array>
#include <stdexcept>
#include <utility>

#include "WifiManagerContract.h"

namespace {

class WifiManagerTest : public WifiManagerContract {};
using WifiManager = WifiManagerTest;

bool NoConfig(wifi_manager_config_h, void*) {
  return ADD_FAILURE(), true;
}
bool NoAp(wifi_manager_ap_h, void*) {
  return ADD_FAILURE(), true;
}

}  // namespace

// Null arguments are refused, and nothing is written or begun.
// Fails: a backend that reads through the pointer before it looks at it.
TEST_F(WifiManager, WrongArgumentsAreRefused) {
  wifi_manager_specific_scan_h scan = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(m_manager, &scan), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_specific_scan_set_freq(scan, 2437), WIFI_MANAGER_ERROR_NONE);
  wifi_manager_h other = nullptr;
  ASSERT_EQ(wifi_manager_initialize(&other), WIFI_MANAGER_ERROR_NONE);
  wifi_manager_specific_scan_h empty = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(other, &empty), WIFI_MANAGER_ERROR_NONE);
  wifi_manager_ap_h clone = nullptr;
  Answers answers;
  for (const int result :
       {wifi_manager_initialize(nullptr),
        wifi_manager_deinitialize(nullptr),
        wifi_manager_config_foreach_configuration(nullptr, NoConfig, nullptr),
        wifi_manager_config_foreach_configuration(m_manager, nullptr, nullptr),
        wifi_manager_ap_clone(&clone, nullptr),
        wifi_manager_ap_destroy(nullptr),
        wifi_manager_specific_scan_create(nullptr, &scan),
        wifi_manager_specific_scan_create(m_manager, nullptr),
        wifi_manager_specific_scan_set_freq(nullptr, 2437),
        wifi_manager_specific_scan_set_freq(scan, 0),
        wifi_manager_specific_scan_set_freq(scan, -1),
        wifi_manager_specific_ap_start_multi_scan(nullptr, scan, RecordAnswer, &answers),
        wifi_manager_specific_ap_start_multi_scan(m_manager, nullptr, RecordAnswer, &answers),
        wifi_manager_specific_ap_start_multi_scan(m_manager, scan, nullptr, nullptr),
        wifi_manager_specific_ap_start_multi_scan(other, empty, RecordAnswer, &answers),
        wifi_manager_foreach_found_ap(nullptr, NoAp, nullptr),
        wifi_manager_foreach_found_ap(m_manager, nullptr, nullptr),
        wifi_manager_scan_specific_ap(nullptr, "Den", RecordAnswer, &answers),
        wifi_manager_scan_specific_ap(m_manager, nullptr, RecordAnswer, &answers),
        wifi_manager_scan_specific_ap(m_manager, "Den", nullptr, nullptr),
        wifi_manager_foreach_found_specific_ap(nullptr, NoAp, nullptr),
        wifi_manager_foreach_found_specific_ap(m_manager, nullptr, nullptr),
        wifi_manager_connect(m_manager, nullptr, RecordAnswer, &answers)}) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  }
  Settle();
  EXPECT_EQ(answers, Answers{});
  EXPECT_EQ(clone, nullptr);
}

// Every function refuses a handle that has ended, and so does each property a null out parameter.
// Fails: a backend whose handles are pointers that it follows without knowing them.
TEST_F(WifiManager, HandlesThatEndedAreRefused) {
  m_room->PutOnAir(m_cafe);
  m_room->Save(m_low);
  ScanChannels({m_cafe.frequency});
  wifi_manager_ap_h alive = Clone("Cafe");
  wifi_manager_ap_h ended = Clone("Cafe");
  ASSERT_EQ(wifi_manager_ap_destroy(ended), WIFI_MANAGER_ERROR_NONE);
  wifi_manager_ap_h clone = nullptr;
  int rssi = 7;
  char* text = nullptr;
  bool required = true;
  Answers answers;
  for (const int result :
       {wifi_manager_ap_destroy(ended), wifi_manager_ap_clone(&clone, ended),
        wifi_manager_ap_clone(nullptr, alive), wifi_manager_ap_get_essid(ended, &text),
        wifi_manager_ap_get_essid(alive, nullptr), wifi_manager_ap_get_rssi(ended, &rssi),
        wifi_manager_ap_get_rssi(alive, nullptr),
        wifi_manager_ap_is_passphrase_required(ended, &required),
        wifi_manager_ap_is_passphrase_required(alive, nullptr), ConnectToAp(ended, answers)}) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  }
  const auto ask = [](wifi_manager_config_h config, void*) {
    for (const int result : {wifi_manager_config_get_name(config, nullptr),
                             wifi_manager_config_get_security_type(config, nullptr),
                             wifi_manager_config_get_frequency(config, nullptr)}) {
      EXPECT_EQ(result, WIFI_MANAGER_ERROR_INVALID_PARAMETER);
    }
    return true;
  };
  EXPECT_EQ(wifi_manager_config_foreach_configuration(m_manager, ask, nullptr), WIFI_MANAGER_ERROR_NONE);

  wifi_manager_specific_scan_h scan = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(m_manager, &scan), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_deinitialize(m_manager), WIFI_MANAGER_ERROR_NONE);
  for (const int result :
       {wifi_manager_deinitialize(m_manager), wifi_manager_specific_scan_create(m_manager, &scan),
        wifi_manager_specific_scan_set_freq(scan, 2437),
        wifi_manager_config_foreach_configuration(m_manager, NoConfig, nullptr),
        wifi_manager_foreach_found_ap(m_manager, NoAp, nullptr),
        wifi_manager_foreach_found_specific_ap(m_manager, NoAp, nullptr),
        wifi_manager_scan_specific_ap(m_manager, "Den", RecordAnswer, &answers),
        ConnectToAp(alive, answers)}) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  }
  Settle();
  EXPECT_EQ(answers, Answers{});
  EXPECT_EQ(clone, nullptr);
  EXPECT_EQ(rssi, 7);
  EXPECT_EQ(text, nullptr);
  EXPECT_TRUE(required);
  EXPECT_EQ(wifi_manager_ap_destroy(alive), WIFI_MANAGER_ERROR_NONE);
}

// The saved networks are walked with their names and security.
// Fails: a backend that lists what is in reach, or each network once for all its kinds of security.
TEST_F(WifiManager, SavedNetworksAreWalked) {
  using Saved = std::vector<std::pair<std::string, int>>;
  const auto step = [](wifi_manager_config_h config, void* list) {
    char* name = nullptr;
    auto security = WIFI_SECURITY_TYPE_EAP;
    EXPECT_EQ(wifi_manager_config_get_name(config, &name), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(wifi_manager_config_get_security_type(config, &security), WIFI_MANAGER_ERROR_NONE);
    static_cast<Saved*>(list)->emplace_back(name, security);
    std::free(name);
    return true;
  };
  Saved saved;
  EXPECT_EQ(wifi_manager_config_foreach_configuration(m_manager, NoConfig, nullptr),
            WIFI_MANAGER_ERROR_NONE);
  m_room->Save(m_low);
  m_room->Save(m_cafe);
  ASSERT_EQ(wifi_manager_config_foreach_configuration(m_manager, step, &saved), WIFI_MANAGER_ERROR_NONE);
  std::ranges::sort(saved);
  EXPECT_EQ(saved, (Saved{{"Cafe", WIFI_SECURITY_TYPE_NONE}, {"Den", WIFI_SECURITY_TYPE_WPA2_PSK}}));

  int count = 0;
  const auto stop = [](wifi_manager_config_h, void* number) {
    ++*static_cast<int*>(number);
    return false;
  };
  EXPECT_EQ(wifi_manager_config_foreach_configuration(m_manager, stop, &count), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(count, 1);
}

// A saved network has the frequency of its last connection, whatever is heard, and also when nothing is.
// Fails: a backend whose service keeps no frequency, and that tells what the last scan saw.
TEST_F(WifiManager, ASavedNetworkHasTheFrequencyOfItsLastConnection) {
  using Frequencies = std::map<std::string, int>;
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  m_room->Save(m_low);
  ASSERT_EQ(ConnectAndWait(To(m_high)), WIFI_ERROR_NONE);
  EXPECT_EQ(SavedFrequencies(), (Frequencies{{"Den", m_high.frequency}}));
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_NONE);
  EXPECT_EQ(SavedFrequencies(), (Frequencies{{"Den", m_low.frequency}}));
  m_room->TakeOffAir(m_low.bssid);
  RunLoopUntil([] { return !IsConnected(); });
  EXPECT_EQ(SavedFrequencies(), (Frequencies{{"Den", m_low.frequency}}));
}

// A failed connection is none, and a network that is not in reach has no frequency without one.
// Fails: a backend that notes the frequency when it begins.
TEST_F(WifiManager, AFailedConnectionLeavesNoFrequency) {
  m_room->PutOnAir(m_low);
  m_room->Save(m_low);
  m_room->SetAnswer(m_low.bssid, WifiRoom::Answer::kNoAddress);
  ASSERT_EQ(ConnectAndWait(To(m_low)), WIFI_ERROR_DHCP_FAILED);
  m_room->TakeOffAir(m_low.bssid);
  RunLoopUntil([&] {
    Scan();
    return SavedFrequencies() == std::map<std::string, int>{{"Den", -1}};
  });
}

// A scan of channels finds what is on them, of one or of several.
// Fails: a backend that scans everything, which takes its connection off the air for seconds.
TEST_F(WifiManager, AScanOfChannelsLooksThereOnly) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  m_room->PutOnAir({.bssid = "02:00:00:00:30:00", .essid = "Far", .frequency = 5500});
  ScanChannels({m_cafe.frequency});
  EXPECT_EQ(Found(), (Names{"Cafe"}));
  ScanChannels({m_low.frequency, 5500});
  EXPECT_EQ(Found(), (Names{"Cafe", "Den", "Far"}));
}

// What was known of the other channels is still known, and a radio that has gone from a scanned one is
// known no more.
// Fails: a backend whose list is what the last scan saw, or one that never forgets.
TEST_F(WifiManager, AScanOfChannelsRefreshesTheseOnly) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  Scan();
  m_room->TakeOffAir(m_low.bssid);
  m_room->TakeOffAir(m_cafe.bssid);
  ScanChannels({m_cafe.frequency});
  EXPECT_EQ(Found(), (Names{"Den"}));
  ScanChannels({m_low.frequency});
  EXPECT_EQ(Found(), (Names{}));
}

// The signal that is told is the one of the last scan.
// Fails: a backend that keeps what it heard first.
TEST_F(WifiManager, AScanOfChannelsBringsTheSignalUpToDate) {
  m_room->PutOnAir(m_cafe);
  Scan();
  const auto signal = [&] {
    wifi_manager_ap_h ap = Clone("Cafe");
    int rssi = 0;
    EXPECT_EQ(wifi_manager_ap_get_rssi(ap, &rssi), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
    return rssi;
  };
  const int near = signal();
  WifiRoom::AirRadio far = m_cafe;
  far.is_far = true;
  m_room->PutOnAir(far);
  EXPECT_EQ(signal(), near);
  ScanChannels({m_cafe.frequency});
  EXPECT_LT(signal(), near);
}

// A scan object that another took the place of is refused; the one before may be forgotten once its scan
// has begun.
// Fails: a backend whose running scan reads the object.
TEST_F(WifiManager, AScanObjectMayBeForgotten) {
  m_room->PutOnAir(m_cafe);
  wifi_manager_specific_scan_h first = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(m_manager, &first), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_specific_scan_set_freq(first, m_cafe.frequency), WIFI_MANAGER_ERROR_NONE);
  Answers answers;
  ASSERT_EQ(wifi_manager_specific_ap_start_multi_scan(m_manager, first, RecordAnswer, &answers),
            WIFI_MANAGER_ERROR_NONE);
  wifi_manager_specific_scan_h second = nullptr;
  ASSERT_EQ(wifi_manager_specific_scan_create(m_manager, &second), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(wifi_manager_specific_scan_set_freq(first, 5180), WIFI_MANAGER_ERROR_INVALID_PARAMETER);
  WaitFor(answers, {WIFI_MANAGER_ERROR_NONE});
  EXPECT_EQ(Found(), (Names{"Cafe"}));
}

// Scans of several users, and whole ones among them, wait for their turn; each is answered once, and the
// connection stays.
// Fails: a backend whose service refuses a second scan, or lets the new one take the old one's place.
TEST_F(WifiManager, ScansWaitForTheirTurn) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_low, kSecret)), WIFI_ERROR_NONE);
  wifi_manager_h other = nullptr;
  ASSERT_EQ(wifi_manager_initialize(&other), WIFI_MANAGER_ERROR_NONE);
  std::vector<int> order;
  struct Turn {
    int number;
    std::vector<int>& order;
  };
  std::array<Turn, 4> turns{{{1, order}, {2, order}, {3, order}, {4, order}}};
  const auto scanned = [](wifi_error_e result, void* data) {
    EXPECT_EQ(result, WIFI_ERROR_NONE);
    auto* const turn = static_cast<Turn*>(data);
    turn->order.push_back(turn->number);
  };
  const auto manager_scanned = [](wifi_manager_error_e result, void* data) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_NONE);
    auto* const turn = static_cast<Turn*>(data);
    turn->order.push_back(turn->number);
  };
  const auto begin = [&](wifi_manager_h manager, int frequency, Turn& turn) {
    wifi_manager_specific_scan_h scan = nullptr;
    EXPECT_EQ(wifi_manager_specific_scan_create(manager, &scan), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(wifi_manager_specific_scan_set_freq(scan, frequency), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(wifi_manager_specific_ap_start_multi_scan(manager, scan, manager_scanned, &turn),
              WIFI_MANAGER_ERROR_NONE);
  };
  begin(m_manager, m_low.frequency, turns[0]);
  ASSERT_EQ(wifi_scan(scanned, &turns[1]), WIFI_ERROR_NONE);
  begin(other, m_cafe.frequency, turns[2]);
  ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, "Cafe", manager_scanned, &turns[3]),
            WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(order, std::vector<int>{});
  RunLoopUntil([&] { return order.size() == turns.size(); }, 4 * m_room->LongestRequest());
  Settle();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(ConnectedBssid(), m_low.bssid);
}

// A hidden network answers to its name.
// Fails: a backend that looks for the name in what it heard.
TEST_F(WifiManager, AScanForANameFindsAHiddenNetwork) {
  WifiRoom::AirRadio hidden = m_low;
  hidden.is_hidden = true;
  m_room->PutOnAir(hidden);
  m_room->PutOnAir(m_cafe);
  m_room->Save(hidden);
  ScanChannels({hidden.frequency});
  EXPECT_EQ(FoundByName(), (Names{}));
  ScanFor("Den");
  EXPECT_EQ(FoundByName(), (Names{"Den"}));
  wifi_manager_ap_h ap = Clone("Den", wifi_manager_foreach_found_specific_ap);
  ASSERT_EQ(ConnectToApAndWait(ap), WIFI_MANAGER_ERROR_NONE);
  EXPECT_EQ(ConnectedBssid(), hidden.bssid);
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
}

// What a scan for a name found belongs to the user who asked, and to that name.
// Fails: a backend that keeps one list for all.
TEST_F(WifiManager, WhatAScanForANameFoundIsTheAskersOwn) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  m_room->PutOnAir(m_cafe);
  wifi_manager_h other = nullptr;
  ASSERT_EQ(wifi_manager_initialize(&other), WIFI_MANAGER_ERROR_NONE);
  ScanFor("Den");
  EXPECT_EQ(FoundByName(), (Names{"Den"}));
  EXPECT_EQ(NamesOf(wifi_manager_foreach_found_specific_ap, other), (Names{}));
  ScanChannels({m_cafe.frequency});
  EXPECT_EQ(FoundByName(), (Names{"Den"}));
  ScanFor("Nobody");
  EXPECT_EQ(FoundByName(), (Names{}));
}

// A clone lives on when the access point that it was made of has ended, and is told whether it is open.
// Fails: a backend that hands out the same handle twice.
TEST_F(WifiManager, ACloneOutlivesItsAccessPoint) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  Scan();
  for (const auto& [essid, is_required] : {std::pair("Den", true), std::pair("Cafe", false)}) {
    wifi_manager_ap_h first = Clone(essid);
    wifi_manager_ap_h second = nullptr;
    ASSERT_EQ(wifi_manager_ap_clone(&second, first), WIFI_MANAGER_ERROR_NONE);
    ASSERT_EQ(wifi_manager_ap_destroy(first), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(NameOf(second), essid);
    bool required = !is_required;
    EXPECT_EQ(wifi_manager_ap_is_passphrase_required(second, &required), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(required, is_required);
    EXPECT_EQ(wifi_manager_ap_destroy(second), WIFI_MANAGER_ERROR_NONE);
  }
}

// A user who has gone hears nothing of what was asked for, and others go on hearing.
// Fails: a backend that calls back into freed memory.
TEST_F(WifiManager, AUserWhoHasGoneHearsNothing) {
  m_room->PutOnAir(m_cafe);
  Scan();
  wifi_manager_ap_h ap = Clone("Cafe");
  wifi_manager_h other = nullptr;
  ASSERT_EQ(wifi_manager_initialize(&other), WIFI_MANAGER_ERROR_NONE);
  Answers gone;
  Answers answers;
  ASSERT_EQ(BeginScanOf(m_manager, {m_cafe.frequency}, gone), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, "Cafe", RecordAnswer, &gone),
            WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ConnectToAp(ap, gone), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(BeginScanOf(other, {m_cafe.frequency}, answers), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_deinitialize(m_manager), WIFI_MANAGER_ERROR_NONE);
  WaitFor(answers, {WIFI_MANAGER_ERROR_NONE});
  RunLoopFor(m_room->LongestRequest());
  EXPECT_EQ(gone, Answers{});
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
}

// A user may go in their own callback.
// Fails: a backend that writes the end of the scan into the user's object after the call.
TEST_F(WifiManager, AUserMayGoInTheirOwnCallback) {
  m_room->PutOnAir(m_cafe);
  const auto leave = [](wifi_manager_error_e result, void* manager) {
    EXPECT_EQ(result, WIFI_MANAGER_ERROR_NONE);
    auto* const self = static_cast<wifi_manager_h*>(manager);
    EXPECT_EQ(wifi_manager_deinitialize(*self), WIFI_MANAGER_ERROR_NONE);
    *self = nullptr;
  };
  ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, "Cafe", leave, &m_manager),
            WIFI_MANAGER_ERROR_NONE);
  RunLoopUntil([&] { return m_manager == nullptr; }, m_room->LongestRequest());
  EXPECT_EQ(m_manager, nullptr);
  Settle();
}

// An exception that leaves a callback costs that call only.
// Fails: a backend that lets it pass through the main loop, which is written in C.
TEST_F(WifiManager, SurvivesAnExceptionInACallback) {
  m_room->PutOnAir(m_cafe);
  const auto fail = [](wifi_manager_error_e, void* was_called) {
    *static_cast<bool*>(was_called) = true;
    throw std::runtime_error("a malformed document");
  };
  bool was_called = false;
  ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, "Cafe", fail, &was_called),
            WIFI_MANAGER_ERROR_NONE);
  RunLoopUntil([&] { return was_called; }, m_room->LongestRequest());
  ASSERT_TRUE(was_called);
  ScanChannels({m_cafe.frequency});
  EXPECT_EQ(Found(), (Names{"Cafe"}));
}

// After the platform stopped, nothing is answered.
// Fails: a backend that stops its services and forgets what is already queued.
TEST_F(WifiManager, IsNotAnsweredAfterTheStop) {
  m_room->PutOnAir(m_cafe);
  Scan();
  wifi_manager_ap_h ap = Clone("Cafe");
  Answers answers;
  ASSERT_EQ(BeginScanOf(m_manager, {m_cafe.frequency}, answers), WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, "Cafe", RecordAnswer, &answers),
            WIFI_MANAGER_ERROR_NONE);
  ASSERT_EQ(ConnectToAp(ap, answers), WIFI_MANAGER_ERROR_NONE);
  platform_stop();
  RunLoopFor(m_room->LongestRequest());
  EXPECT_EQ(answers, Answers{});
  EXPECT_EQ(wifi_manager_ap_destroy(ap), WIFI_MANAGER_ERROR_NONE);
}
