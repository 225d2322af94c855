#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "NetworkWifiFixture.h"
#include "TestLog.h"

namespace {

using NetworkWifiListeners = NetworkWifiObject;

TEST_F(NetworkWifiListeners, TellsAllListenersInTheirOrder) {
  auto second = std::make_shared<Listener>(m_heard, "second ");
  m_wifi->AddListner(second);
  m_wifi->AddListner(nullptr);
  ConnectTo(Connected());
  RunLoopOnce();
  EXPECT_EQ(m_heard, (Heard{"let in", "second let in", "success", "second success"}));
}

TEST_F(NetworkWifiListeners, TellsNothingToAListenerThatEnded) {
  auto second = std::make_shared<Listener>(m_heard, "second ");
  m_wifi->AddListner(second);
  m_listener->on_heard = [&](const std::string&) { second.reset(); };
  m_wifi->Scan();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"scanned"});
}

TEST_F(NetworkWifiListeners, LetsAListenerEndItselfInItsCall) {
  m_listener->on_heard = [&](const std::string&) { m_listener.reset(); };
  m_wifi->Scan();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{"scanned"});
}

TEST_F(NetworkWifiListeners, TellsAnAddedListenerFromTheNextEventOn) {
  const auto second = std::make_shared<Listener>(m_heard, "second ");
  m_wifi->AddListner(second);
  std::vector<std::shared_ptr<Listener>> added;
  m_listener->on_heard = [&](const std::string& event) {
    for (int i = 0; event == "let in" && i < 100; ++i) {
      added.push_back(std::make_shared<Listener>(m_heard, "added "));
      m_wifi->AddListner(added.back());
    }
  };
  ConnectTo(Connected());
  RunLoopOnce();
  Heard expected{"let in", "second let in", "success", "second success"};
  expected.insert(expected.end(), 100, "added success");
  EXPECT_EQ(m_heard, expected);
}

TEST_F(NetworkWifiListeners, TellsTheOthersAlthoughAListenerThrows) {
  auto second = std::make_shared<Listener>(m_heard, "second ");
  m_wifi->AddListner(second);
  m_listener->on_heard = [](const std::string&) { throw std::runtime_error("no luck"); };
  m_wifi->Scan();
  RunUntilQuiet();
  EXPECT_EQ(m_heard, (Heard{"scanned", "second scanned"}));
  EXPECT_TRUE(test_log::Has("exception no luck"));
}

TEST_F(NetworkWifiListeners, LetsAListenerAskForMoreInItsCall) {
  const WIFIData low = Connected();
  const WIFIData high = Similar();
  auto second = std::make_shared<Listener>(m_heard, "second ");
  m_wifi->AddListner(second);
  m_room.FindRadio(kHigh)->temper = Radio::Temper::kRefuses;
  m_listener->on_heard = [&](const std::string& event) {
    if (event.starts_with("error")) {
      ConnectTo(low);
    }
  };
  ConnectTo(high);
  RunUntilQuiet();
  const std::string error = "error " + std::to_string(WIFI_ERROR_REFUSED);
  EXPECT_EQ(m_heard, (Heard{"kept out", "second kept out", error, "second " + error, "let in",
                            "second let in", "success", "second success"}));
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

TEST_F(NetworkWifiListeners, DropsTheRestOfAnAnswerWhenAListenerAsksForAnother) {
  const WIFIData low = Connected();
  int times = 0;
  m_listener->on_heard = [&](const std::string& event) {
    if (event == "let in" && ++times == 1) {
      ConnectTo(low);
    }
  };
  ConnectTo(Similar());
  RunUntilQuiet();
  EXPECT_EQ(m_heard, (Heard{"let in", "let in", "success"}));
  EXPECT_EQ(m_room.ConnectedBssid(), kLow);
}

/// What a listener may do to the object in any of its calls.
TEST_F(NetworkWifiListeners, LetsAListenerEndItInAnyCall) {
  const std::pair<std::string, std::function<void()>> rows[] = {
      {"scanned", [&] { m_wifi->Scan(); }},
      {"let in", [&] { ConnectTo(Similar()); }},
      {"success", [&] { ConnectTo(Similar()); }},
      {"kept out",
       [&] {
         m_tv.Fail("wifi_connect_target", WIFI_ERROR_OPERATION_FAILED, 1);
         ConnectTo(Similar());
       }},
      {"error -29687039",
       [&] {
         m_tv.Fail("wifi_connect_target", WIFI_ERROR_OPERATION_FAILED, 1);
         ConnectTo(Similar());
       }},
      {"disconnected", [&] { m_wifi->Disconnect("Den"); }},
  };
  for (const auto& [event, ask] : rows) {
    SCOPED_TRACE(event);
    m_room.Join(kLow);
    m_wifi = std::make_unique<NetworkWifi>();
    const auto second = std::make_shared<Listener>(m_heard, "second ");
    m_wifi->AddListner(m_listener);
    m_wifi->AddListner(second);
    bool has_ended = false;
    m_listener->on_heard = [&, awaited = event](const std::string& heard) {
      if (heard == awaited) {
        m_wifi.reset();
        has_ended = true;
      }
    };
    ask();
    RunUntilQuiet();
    EXPECT_TRUE(has_ended);
    EXPECT_EQ(Take().back(), event);  // and nobody has heard anything after it
  }
}

TEST_F(NetworkWifiListeners, TellsNothingAfterItsEnd) {
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"a scan", [&] { m_wifi->Scan(); }},
      {"a connection", [&] { ConnectTo(Similar()); }},
      {"a disconnection", [&] { m_wifi->Disconnect("Den"); }},
      {"a refused scan",
       [&] {
         m_tv.Fail("wifi_scan", WIFI_ERROR_OPERATION_FAILED, 1);
         m_wifi->Scan();
       }},
      {"a refused connection",
       [&] {
         m_tv.Fail("wifi_connect_target", WIFI_ERROR_OPERATION_FAILED, 1);
         ConnectTo(Similar());
       }},
      {"being there already", [&] { ConnectTo(Connected()); }},
      {"two answers",
       [&] {
         m_room.FindRadio(kHigh)->temper = Radio::Temper::kAnswersTwice;
         ConnectTo(Similar());
       }},
  };
  for (const auto& [what, ask] : rows) {
    SCOPED_TRACE(what);
    m_room.Join(kLow);
    m_wifi = std::make_unique<NetworkWifi>();
    m_wifi->AddListner(m_listener);
    ask();
    m_wifi.reset();
    RunUntilQuiet();
    EXPECT_EQ(m_heard, Heard{});
  }
}

TEST_F(NetworkWifiListeners, TellsNothingOfTheRequestsOfOneBeforeIt) {
  ConnectTo(Similar());
  m_wifi = std::make_unique<NetworkWifi>();  // may well stand where the first one stood
  m_wifi->AddListner(m_listener);
  RunUntilQuiet();
  EXPECT_EQ(m_heard, Heard{});
}

}  // namespace
