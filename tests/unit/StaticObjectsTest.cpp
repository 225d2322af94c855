#include "StaticObjects.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "VirtualTv.h"

namespace {

// Every object with a destructor registers it when its constructor has ended, so the order of these
// calls is the order of construction.
std::array<const void*, 4096> g_registered;
std::size_t g_registered_count = 0;

}  // namespace

extern "C" int __cxa_atexit(void (*destructor)(void*), void* object, void* library) {
  if (g_registered_count < g_registered.size()) {
    g_registered[g_registered_count++] = object;
  }
  using Function = int (*)(void (*)(void*), void*, void*);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "__cxa_atexit"));
  return real(destructor, object, library);
}

namespace {

/// Opens the private pointer of a singleton: a class derived from it may not see it either.
template <auto pointer, class T>
struct Opened {
  friend const void* PointerOf(T*) { return pointer; }
};
const void* PointerOf(NetworkMonitor*);
const void* PointerOf(WifiMonHandler*);
const void* PointerOf(TCPDumpHandler*);
template struct Opened<&CNWSingleton<NetworkMonitor>::m_pInstance, NetworkMonitor>;
template struct Opened<&CNWSingleton<WifiMonHandler>::m_pInstance, WifiMonHandler>;
template struct Opened<&TCPDumpHandler::m_USBAPIObj, TCPDumpHandler>;

struct Object {
  const char* name;
  const void* address;
};

std::vector<Object> ObjectsInOrder() {
  return {
      {"TCPDumpHandler::m_USBAPIObj", PointerOf(static_cast<TCPDumpHandler*>(nullptr))},
      {"SOLSTICE_FMS", &SOLSTICE_FMS},
      {"the internet monitor's pointer", PointerOf(static_cast<NetworkMonitor*>(nullptr))},
      {"RSEUtil::m_RSEVconf", &RSEUtil::m_RSEVconf},
      {"RSEUtil::m_RSELaunchedVconf", &RSEUtil::m_RSELaunchedVconf},
      {"NetworkTypeVconfKey", &NetworkTypeVconfKey},
      {"NetworkTypeWired", &NetworkTypeWired},
      {"NetworkTypeWireless", &NetworkTypeWireless},
      {"MW_CERT_PATH", &MW_CERT_PATH},
      {"ROOT_CERT_PATH", &ROOT_CERT_PATH},
      {"CLIENT_CERT_PATH", &CLIENT_CERT_PATH},
      {"the Wi-Fi monitor's pointer", PointerOf(static_cast<WifiMonHandler*>(nullptr))},
      {"VCONF_INSTANT_OFF_ON", &VCONF_INSTANT_OFF_ON},
      {"g_onwtypeKPI", &g_onwtypeKPI},
      {"g_oEAPCertUpdate", &g_oEAPCertUpdate},
      {"g_oRemoteLauncher", &g_oRemoteLauncher},
      {"g_CaptiveAP", &g_CaptiveAP},
      {"g_TCPDump", &g_TCPDump},
  };
}

TEST(StaticObjects, AreBuiltBeforeMainInTheirFixedOrder) {
  const auto begin = g_registered.begin();
  const auto end = begin + static_cast<std::ptrdiff_t>(g_registered_count);
  auto last = begin;
  for (const Object& object : ObjectsInOrder()) {
    const auto place = std::find(begin, end, object.address);
    ASSERT_NE(place, end) << object.name << " is not built before main()";
    EXPECT_GE(place, last) << object.name << " is built too early";
    last = place;
  }
}

TEST(StaticObjects, HoldTheirFixedTexts) {
  EXPECT_EQ(SOLSTICE_FMS, "com.velanor/featureconf/projector.engine_type");
  EXPECT_EQ(RSEUtil::m_RSEVconf, "memory/menu/network/rse_command");
  EXPECT_EQ(RSEUtil::m_RSELaunchedVconf, "db/menu/network/eu_wifi_reg_test_mode");
  EXPECT_EQ(NetworkTypeVconfKey, "db/menu/network/network_type");
  EXPECT_EQ(NetworkTypeWired, "Wired");
  EXPECT_EQ(NetworkTypeWireless, "Wireless");
  EXPECT_EQ(MW_CERT_PATH, "/home/owner/share/connmancertpath/");
  EXPECT_EQ(ROOT_CERT_PATH, "/home/owner/share/Root/");
  EXPECT_EQ(CLIENT_CERT_PATH, "/home/owner/share/Client/");
  EXPECT_EQ(VCONF_INSTANT_OFF_ON, "memory/menu/network/notify_pelorus");
}

/// What is wrong with it shows after the test, when the process ends.
TEST(StaticObjects, MayEndWithAllThatTheyHaveStarted) {
  VirtualTv& tv = VirtualTv::Instance();
  tv.SetFeature("projector_feature_support", "true");
  tv.GetPackages().Install("org.orvik.browser");
  g_onwtypeKPI.Start();
  g_oRemoteLauncher.Init();
  g_CaptiveAP.Init();
  g_CaptiveAP.CheckCaptiveAP();
  EXPECT_FALSE(tv.Calls("connection_set_network_monitor_cb").empty());
  EXPECT_TRUE(tv.Calls("connection_destroy").empty());
}

int g_monitors_alive = 0;

struct Monitor {
  Monitor() { ++g_monitors_alive; }
  ~Monitor() { --g_monitors_alive; }
};

}  // namespace

template <>
std::weak_ptr<Monitor> CNWSingleton<Monitor>::m_pInstance{};

namespace {

TEST(Singleton, IsOneObjectForAllWhoHoldIt) {
  const auto first = CNWSingleton<Monitor>::GetInstance();
  const auto second = CNWSingleton<Monitor>::GetInstance();
  EXPECT_EQ(first, second);
  EXPECT_EQ(g_monitors_alive, 1);
}

TEST(Singleton, EndsWithItsLastUserAndIsMadeAnewForTheNext) {
  CNWSingleton<Monitor>::GetInstance();
  EXPECT_EQ(g_monitors_alive, 0);
  const auto again = CNWSingleton<Monitor>::GetInstance();
  EXPECT_EQ(g_monitors_alive, 1);
}

}  // namespace
