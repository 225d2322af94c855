#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "WifiContract.h"

using Names = std::vector<std::string>;

/// A started platform with a user of the Wi-Fi manager interface.
class WifiManagerContract : public WifiContract {
 protected:
  void SetUp() override {
    WifiContract::SetUp();
    ASSERT_EQ(wifi_manager_initialize(&m_manager), WIFI_MANAGER_ERROR_NONE);
  }

  static void RecordAnswer(wifi_manager_error_e result, void* answers) {
    static_cast<Answers*>(answers)->push_back(result);
  }

  static std::string NameOf(wifi_manager_ap_h ap) { return TextOf(wifi_manager_ap_get_essid, ap); }

  int BeginScanOf(wifi_manager_h manager, const std::vector<int>& frequencies, Answers& answers) {
    wifi_manager_specific_scan_h scan = nullptr;
    EXPECT_EQ(wifi_manager_specific_scan_create(manager, &scan), WIFI_MANAGER_ERROR_NONE);
    for (const int frequency : frequencies) {
      EXPECT_EQ(wifi_manager_specific_scan_set_freq(scan, frequency), WIFI_MANAGER_ERROR_NONE);
    }
    return wifi_manager_specific_ap_start_multi_scan(manager, scan, RecordAnswer, &answers);
  }
  /// A whole scan of some channels.
  void ScanChannels(const std::vector<int>& frequencies) {
    Answers answers;
    ASSERT_EQ(BeginScanOf(m_manager, frequencies, answers), WIFI_MANAGER_ERROR_NONE);
    WaitFor(answers, {WIFI_MANAGER_ERROR_NONE});
  }
  /// A whole scan for a name.
  void ScanFor(const char* essid) {
    Answers answers;
    ASSERT_EQ(wifi_manager_scan_specific_ap(m_manager, essid, RecordAnswer, &answers),
              WIFI_MANAGER_ERROR_NONE);
    WaitFor(answers, {WIFI_MANAGER_ERROR_NONE});
  }

  using Walk = int (*)(wifi_manager_h, wifi_manager_found_ap_cb, void*);
  /// In the order of the alphabet.
  static Names NamesOf(Walk walk, wifi_manager_h manager) {
    Names names;
    const auto step = [](wifi_manager_ap_h ap, void* list) {
      static_cast<Names*>(list)->push_back(NameOf(ap));
      return true;
    };
    EXPECT_EQ(walk(manager, step, &names), WIFI_MANAGER_ERROR_NONE);
    std::ranges::sort(names);
    return names;
  }
  Names Found() { return NamesOf(wifi_manager_foreach_found_ap, m_manager); }
  Names FoundByName() { return NamesOf(wifi_manager_foreach_found_specific_ap, m_manager); }

  /// A clone of what was found, as who means to connect takes it; null when there is none of that name.
  wifi_manager_ap_h Clone(const std::string& essid, Walk walk = wifi_manager_foreach_found_ap) {
    struct Search {
      const std::string& essid;
      wifi_manager_ap_h clone;
    } search{essid, nullptr};
    const auto step = [](wifi_manager_ap_h ap, void* data) {
      auto* const self = static_cast<Search*>(data);
      if (NameOf(ap) != self->essid) {
        return true;
      }
      EXPECT_EQ(wifi_manager_ap_clone(&self->clone, ap), WIFI_MANAGER_ERROR_NONE);
      return false;
    };
    EXPECT_EQ(walk(m_manager, step, &search), WIFI_MANAGER_ERROR_NONE);
    return search.clone;
  }
  int ConnectToAp(wifi_manager_ap_h ap, Answers& answers) {
    return wifi_manager_connect(m_manager, ap, RecordAnswer, &answers);
  }
  /// A whole request to connect.
  int ConnectToApAndWait(wifi_manager_ap_h ap) {
    Answers answers;
    EXPECT_EQ(ConnectToAp(ap, answers), WIFI_MANAGER_ERROR_NONE);
    EXPECT_EQ(answers, Answers{});
    RunLoopUntil([&] { return !answers.empty(); }, m_room->LongestRequest());
    return answers.empty() ? 1 : answers.front();
  }

  /// The frequencies of the saved networks; -1 where none is known.
  std::map<std::string, int> SavedFrequencies() {
    std::map<std::string, int> saved;
    const auto step = [](wifi_manager_config_h config, void* map) {
      char* name = nullptr;
      EXPECT_EQ(wifi_manager_config_get_name(config, &name), WIFI_MANAGER_ERROR_NONE);
      int frequency = -1;
      const int result = wifi_manager_config_get_frequency(config, &frequency);
      EXPECT_TRUE(result == WIFI_MANAGER_ERROR_NONE || frequency == -1);
      static_cast<std::map<std::string, int>*>(map)->emplace(name, frequency);
      std::free(name);
      return true;
    };
    EXPECT_EQ(wifi_manager_config_foreach_configuration(m_manager, step, &saved),
              WIFI_MANAGER_ERROR_NONE);
    return saved;
  }

  wifi_manager_h m_manager = nullptr;
};
