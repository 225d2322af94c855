#include <algorithm>
#include <set>
#include <utility>

#include "WifiContract.h"

namespace {

using Texts = std::multiset<std::string>;

template <class List>
Texts AsTexts(const List& list) {
  return {list.begin(), list.end()};
}

std::vector<std::pair<std::string, int>> RadiosOf(wifi_ap_h ap) {
  std::vector<std::pair<std::string, int>> radios;
  const auto step = [](const char* bssid, int rssi, int frequency, void* list) {
    EXPECT_LT(rssi, 0);
    static_cast<std::vector<std::pair<std::string, int>>*>(list)->emplace_back(bssid, frequency);
    return true;
  };
  EXPECT_EQ(wifi_foreach_found_bssids(ap, step, &radios), WIFI_ERROR_NONE);
  std::ranges::sort(radios);
  return radios;
}

class WifiTest : public WifiContract {};
using Wifi = WifiTest;

}  // namespace

// Making the interface ready again does no harm, also while something is under way.
// Fails: a backend that starts anew and forgets its requests.
TEST_F(Wifi, MoreThanOneInitialisationDoesNoHarm) {
  m_room->PutOnAir(m_low);
  Answers answers;
  ASSERT_EQ(wifi_scan(Record, &answers), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  WaitFor(answers, {WIFI_ERROR_NONE});
  EXPECT_EQ(wifi_initialize(), WIFI_ERROR_NONE);
  EXPECT_EQ(AskFoundAps(NameOf).size(), 1U);
}

// Null arguments and an empty name are refused, and nothing is written or begun.
// Fails: a backend that reads through the pointer before it looks at it.
TEST_F(Wifi, WrongArgumentsAreRefused) {
  const wifi_target_s nameless{nullptr, nullptr, 0, WIFI_SECURITY_TYPE_NONE, nullptr};
  const wifi_target_s empty{"", nullptr, 0, WIFI_SECURITY_TYPE_NONE, nullptr};
  const wifi_target_s target = To(m_low);
  Answers answers;
  for (const int result :
       {wifi_get_connection_state(nullptr), wifi_get_connected_ap(nullptr), wifi_ap_destroy(nullptr),
        wifi_ap_refresh(nullptr), wifi_get_snr(nullptr), wifi_foreach_found_aps(nullptr, nullptr),
        wifi_config_foreach_configuration(nullptr, nullptr), wifi_scan(nullptr, nullptr),
        wifi_connect_target(nullptr, Record, &answers), Connect(nameless, answers),
        Connect(empty, answers), wifi_connect_target(&target, nullptr, nullptr),
        wifi_disconnect(nullptr, Record, &answers),
        wifi_foreach_found_bssids(
            nullptr, [](const char*, int, int, void*) { return true; }, nullptr)}) {
    EXPECT_EQ(result, WIFI_ERROR_INVALID_PARAMETER);
  }
  Settle();
  EXPECT_EQ(answers, Answers{});
}

// Every property refuses a null handle, a null out parameter and a handle that has ended.
// Fails: a backend whose handles are pointers that it follows without knowing them.
TEST_F(Wifi, HandlesThatEndedAreRefused) {
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  wifi_ap_h ended = ConnectedAp();
  ASSERT_EQ(wifi_ap_destroy(ended), WIFI_ERROR_NONE);
  wifi_ap_h alive = ConnectedAp();
  Answers answers;
  EXPECT_EQ(wifi_ap_destroy(ended), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_ap_refresh(ended), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_disconnect(ended, Record, &answers), WIFI_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(wifi_disconnect(alive, nullptr, nullptr), WIFI_ERROR_INVALID_PARAMETER);
  for (wifi_ap_h ap : {ended, wifi_ap_h(nullptr)}) {
    int number = 7;
    char* text = nullptr;
    auto security = WIFI_SECURITY_TYPE_EAP;
    auto mode = WIFI_MANAGER_CONNECTION_MODE_80211B;
    bool favorite = true;
    for (const int result :
         {wifi_ap_get_essid(ap, &text), wifi_ap_get_bssid(ap, &text), wifi_ap_get_rssi(ap, &number),
          wifi_ap_get_frequency(ap, &number), wifi_ap_get_security_type(ap, &security),
          wifi_ap_get_bandwidth(ap, &number), wifi_ap_is_favorite(ap, &favorite),
          wifi_ap_get_ip_address(ap, CONNECTION_ADDRESS_FAMILY_IPV4, &text),
          wifi_manager_ap_get_connection_mode(ap, &mode)}) {
      EXPECT_EQ(result, WIFI_ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(number, 7);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(security, WIFI_SECURITY_TYPE_EAP);
    EXPECT_EQ(mode, WIFI_MANAGER_CONNECTION_MODE_80211B);
    EXPECT_TRUE(favorite);
  }
  for (const int result : {wifi_ap_get_essid(alive, nullptr), wifi_ap_get_bssid(alive, nullptr),
                           wifi_ap_get_rssi(alive, nullptr), wifi_ap_get_frequency(alive, nullptr),
                           wifi_ap_get_security_type(alive, nullptr),
                           wifi_ap_get_bandwidth(alive, nullptr), wifi_ap_is_favorite(alive, nullptr),
                           wifi_ap_get_ip_address(alive, CONNECTION_ADDRESS_FAMILY_IPV4, nullptr),
                           wifi_manager_ap_get_connection_mode(alive, nullptr)}) {
    EXPECT_EQ(result, WIFI_ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(wifi_ap_destroy(alive), WIFI_ERROR_NONE);
}

// A scan is answered once, by the running main loop, and its results can be walked in the callback.
// Fails: a backend that answers before the results are there, or from inside the call.
TEST_F(Wifi, AScanIsAnsweredOnceWhenItsResultsAreThere) {
  m_room->PutOnAir(m_low);
  std::vector<std::size_t> found;
  const auto count = [](wifi_error_e result, void* list) {
    EXPECT_EQ(result, WIFI_ERROR_NONE);
    static_cast<std::vector<std::size_t>*>(list)->push_back(AskFoundAps(NameOf).size());
  };
  ASSERT_EQ(wifi_scan(count, &found), WIFI_ERROR_NONE);
  EXPECT_TRUE(found.empty());
  g_usleep(static_cast<gulong>(std::chrono::microseconds(m_room->Settling()).count()));
  EXPECT_TRUE(found.empty());
  RunLoopUntil([&] { return !found.empty(); }, m_room->LongestRequest());
  Settle();
  EXPECT_EQ(found, std::vector<std::size_t>{1});
}

// While a scan runs another is refused, and is not answered; after it, the next one runs.
// Fails: a backend that answers both with the end of the first.
TEST_F(Wifi, AScanDuringAScanIsRefused) {
  Answers first;
  Answers second;
  ASSERT_EQ(wifi_scan(Record, &first), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_scan(Record, &second), WIFI_ERROR_NOW_IN_PROGRESS);
  WaitFor(first, {WIFI_ERROR_NONE});
  Settle();
  EXPECT_EQ(second, Answers{});
  Scan();
}

// The callback of a scan may ask for the next one.
// Fails: a backend that counts a scan as running until its callback has returned.
TEST_F(Wifi, AScanMayBeginInTheCallbackOfAnother) {
  Answers answers;
  const auto again = [](wifi_error_e result, void* list) {
    Record(result, list);
    EXPECT_EQ(wifi_scan(Record, list), WIFI_ERROR_NONE);
  };
  ASSERT_EQ(wifi_scan(again, &answers), WIFI_ERROR_NONE);
  WaitFor(answers, {WIFI_ERROR_NONE, WIFI_ERROR_NONE});
}

// Where nothing is on the air, the walk calls nobody and is no failure.
// Fails: a backend that answers an empty list with an error.
TEST_F(Wifi, WithoutRadiosTheWalkIsEmpty) {
  Scan();
  EXPECT_TRUE(AskFoundAps(NameOf).empty());
}

// Radios of one name and security are one access point, seen through the strongest; another security is
// another access point.
// Fails: a backend that lists radios, or groups by the name alone.
TEST_F(Wifi, ANetworkIsSeenOnceThroughItsStrongestRadio) {
  WifiRoom::AirRadio open = m_high;
  open.bssid = "02:00:00:00:30:00";
  open.security = WIFI_SECURITY_TYPE_NONE;
  m_room->PutOnAir(m_high);
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(open);
  Scan();
  EXPECT_EQ(AsTexts(AskFoundAps(BssidOf)), (Texts{m_low.bssid, open.bssid}));
}

// The connected radio stands for its network, also when another one is stronger.
// Fails: a backend that sorts by the signal and looks no further.
TEST_F(Wifi, ANetworkIsSeenThroughTheConnectedRadio) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  ASSERT_EQ(ConnectAndWait(To(m_high, kSecret)), WIFI_ERROR_NONE);
  Scan();
  EXPECT_EQ(AsTexts(AskFoundAps(BssidOf)), Texts{m_high.bssid});
}

// All radios of a network are walked, its own included, also during the walk of the access points.
// Fails: a backend that leaves out the one it was asked with, or whose walks share an iterator.
TEST_F(Wifi, AllRadiosOfANetworkAreWalked) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  m_room->PutOnAir(m_cafe);
  Scan();
  auto radios = AskFoundAps(RadiosOf);
  std::ranges::sort(radios);
  using Radios = std::vector<std::pair<std::string, int>>;
  EXPECT_EQ(radios,
            (std::vector<Radios>{{{m_low.bssid, 2437}, {m_high.bssid, 5180}}, {{m_cafe.bssid, 2462}}}));
}

// A callback that answers false ends its walk, which is no failure.
// Fails: a backend that goes on, or hands the early end on as an error.
TEST_F(Wifi, ACallbackEndsItsWalk) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_high);
  m_room->PutOnAir(m_cafe);
  m_room->Save(m_low);
  m_room->Save(m_cafe);
  Scan();
  int networks = 0;
  EXPECT_EQ(wifi_foreach_found_aps(
                [](wifi_ap_h ap, void* count) {
                  ++*static_cast<int*>(count);
                  int radios = 0;
                  EXPECT_EQ(wifi_foreach_found_bssids(
                                ap,
                                [](const char*, int, int, void* number) {
                                  ++*static_cast<int*>(number);
                                  return false;
                                },
                                &radios),
                            WIFI_ERROR_NONE);
                  EXPECT_EQ(radios, 1);
                  return false;
                },
                &networks),
            WIFI_ERROR_NONE);
  EXPECT_EQ(networks, 1);
  int saved = 0;
  EXPECT_EQ(wifi_config_foreach_configuration(
                [](wifi_config_h, void* count) {
                  ++*static_cast<int*>(count);
                  return false;
                },
                &saved),
            WIFI_ERROR_NONE);
  EXPECT_EQ(saved, 1);
}

// An access point has the properties of its radio.
// Fails: a backend that takes the channel's number for its frequency, or the signal as a positive
// number.
TEST_F(Wifi, PropertiesAreThoseOfTheRadio) {
  m_room->PutOnAir(m_high);
  Scan();
  AskFoundAps([&](wifi_ap_h ap) {
    int rssi = 0;
    int frequency = 0;
    auto security = WIFI_SECURITY_TYPE_NONE;
    EXPECT_EQ(NameOf(ap), "Den");
    EXPECT_EQ(BssidOf(ap), m_high.bssid);
    EXPECT_EQ(wifi_ap_get_rssi(ap, &rssi), WIFI_ERROR_NONE);
    EXPECT_LT(rssi, 0);
    EXPECT_GT(rssi, -110);
    EXPECT_EQ(wifi_ap_get_frequency(ap, &frequency), WIFI_ERROR_NONE);
    EXPECT_EQ(frequency, 5180);
    EXPECT_EQ(wifi_ap_get_security_type(ap, &security), WIFI_ERROR_NONE);
    EXPECT_EQ(security, WIFI_SECURITY_TYPE_WPA2_PSK);
    return 0;
  });
}

// A network is a favorite when it is saved, and the saved networks can be walked.
// Fails: a backend that calls the strongest or the last one a favorite.
TEST_F(Wifi, ASavedNetworkIsAFavorite) {
  m_room->PutOnAir(m_low);
  m_room->PutOnAir(m_cafe);
  EXPECT_EQ(SavedCount(), 0);
  m_room->Save(m_low);
  Scan();
  Texts favorites;
  AskFoundAps([&](wifi_ap_h ap) {
    bool favorite = false;
    EXPECT_EQ(wifi_ap_is_favorite(ap, &favorite), WIFI_ERROR_NONE);
    if (favorite) {
      favorites.insert(NameOf(ap));
    }
    return 0;
  });
  EXPECT_EQ(favorites, Texts{"Den"});
  EXPECT_EQ(SavedCount(), 1);
}

// A hidden network is found without its name; when it is saved the TV asks for it, and finds it by name.
// Fails: a backend that leaves hidden networks out, or never asks for the saved ones.
TEST_F(Wifi, AHiddenNetworkHasANameWhenItIsSaved) {
  WifiRoom::AirRadio hidden = m_low;
  hidden.is_hidden = true;
  m_room->PutOnAir(hidden);
  Scan();
  EXPECT_EQ(AskFoundAps(NameOf), std::vector<std::string>{""});
  EXPECT_EQ(AskFoundAps(BssidOf), std::vector<std::string>{hidden.bssid});
  m_room->Save(hidden);
  Scan();
  EXPECT_EQ(AskFoundAps(NameOf), std::vector<std::string>{"Den"});
}

// A handle says what was so when it was made, until it is refreshed.
// Fails: a backend whose handle is a window on the newest scan.
TEST_F(Wifi, AHandleStaysAsItWasUntilItIsRefreshed) {
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  wifi_ap_h ap = ConnectedAp();
  bool before = true;
  ASSERT_EQ(wifi_ap_is_favorite(ap, &before), WIFI_ERROR_NONE);
  ASSERT_FALSE(before);
  m_room->Save(m_cafe);
  Settle();
  bool favorite = true;
  EXPECT_EQ(wifi_ap_is_favorite(ap, &favorite), WIFI_ERROR_NONE);
  EXPECT_FALSE(favorite);
  EXPECT_EQ(wifi_ap_refresh(ap), WIFI_ERROR_NONE);
  EXPECT_EQ(wifi_ap_is_favorite(ap, &favorite), WIFI_ERROR_NONE);
  EXPECT_TRUE(favorite);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
}

// The properties of one that is in reach no more cannot be refreshed, and stay.
// Fails: a backend that clears the properties first, or answers them from an old list as if they were
// new.
TEST_F(Wifi, AnAccessPointOutOfReachCannotBeRefreshed) {
  m_room->PutOnAir(m_cafe);
  ASSERT_EQ(ConnectAndWait(To(m_cafe)), WIFI_ERROR_NONE);
  wifi_ap_h ap = ConnectedAp();
  m_room->TakeOffAir(m_cafe.bssid);
  Settle();
  Scan();
  EXPECT_EQ(wifi_ap_refresh(ap), WIFI_ERROR_OPERATION_FAILED);
  EXPECT_EQ(NameOf(ap), "Cafe");
  EXPECT_EQ(BssidOf(ap), m_cafe.bssid);
  EXPECT_EQ(wifi_ap_destroy(ap), WIFI_ERROR_NONE);
}
