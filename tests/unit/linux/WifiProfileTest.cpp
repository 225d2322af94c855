#include "WifiProfile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "SavedProfiles.h"

using wifi_profile::Network;
using wifi_profile::Profile;

namespace {

constexpr char kRadio[] = "02:00:00:00:10:04";
const std::string kName("Den\0\xff", 5);
constexpr char kSecret[] = "fourteen geese";

Profile Saved() {
  return wifi_profile::Make({kName, "", WIFI_SECURITY_TYPE_WPA2_PSK, kSecret});
}

/// "" for none.
std::string RadioOf(const Profile& profile) {
  const char* const bssid =
      nm_setting_wireless_get_bssid(nm_connection_get_setting_wireless(profile.get()));
  return bssid == nullptr ? "" : bssid;
}

bool IsSame(const Profile& one, const Profile& other) {
  return nm_connection_compare(one.get(), other.get(), NM_SETTING_COMPARE_FLAG_EXACT) != FALSE;
}

bool IsValid(const Profile& profile) {
  g_autoptr(GError) error = nullptr;
  const Profile copy(nm_simple_connection_new_clone(profile.get()));
  nm_connection_normalize(copy.get(), nullptr, nullptr, &error);
  EXPECT_EQ(error, nullptr) << error->message;
  return error == nullptr;
}

void SetRadio(const Profile& profile, const char* bssid) {
  g_object_set(nm_connection_get_setting_wireless(profile.get()), NM_SETTING_WIRELESS_BSSID, bssid,
               nullptr);
}

Profile WithCertificates(const std::string& directory) {
  Profile profile = Saved();
  NMSetting* const eap = nm_setting_802_1x_new();
  for (const auto& [property, file] : {std::pair{NM_SETTING_802_1X_CA_CERT, "ca.pem"},
                                       std::pair{NM_SETTING_802_1X_CLIENT_CERT, "tv.pem"},
                                       std::pair{NM_SETTING_802_1X_PRIVATE_KEY, "tv.key"}}) {
    const std::string uri = "file://" + directory + "/" + file;
    g_autoptr(GBytes) value = g_bytes_new(uri.c_str(), uri.size() + 1);
    g_object_set(eap, property, value, nullptr);
  }
  nm_connection_add_setting(profile.get(), eap);
  return profile;
}

}  // namespace

TEST(WifiProfile, IsMadeForANameOfAnyBytes) {
  const Profile profile =
      wifi_profile::Make({kName, kRadio, WIFI_SECURITY_TYPE_WPA2_PSK, kSecret, true});
  EXPECT_TRUE(IsValid(profile));
  EXPECT_EQ(RadioOf(profile), kRadio);
  EXPECT_EQ(wifi_profile::PassphraseOf(profile.get()), kSecret);
  EXPECT_TRUE(nm_setting_wireless_get_hidden(nm_connection_get_setting_wireless(profile.get())));
  EXPECT_TRUE(g_utf8_validate(nm_connection_get_id(profile.get()), -1, nullptr));
}

TEST(WifiProfile, OpensTheNetworkThatItIsMadeFor) {
  for (const auto& [security, passphrase] :
       {std::pair{WIFI_SECURITY_TYPE_NONE, ""}, std::pair{WIFI_SECURITY_TYPE_WEP, "abcde"},
        std::pair{WIFI_SECURITY_TYPE_WPA_PSK, kSecret}, std::pair{WIFI_SECURITY_TYPE_WPA2_PSK, kSecret},
        std::pair{WIFI_SECURITY_TYPE_WPA_FT_PSK, kSecret}, std::pair{WIFI_SECURITY_TYPE_SAE, "x"}}) {
    const Profile profile = wifi_profile::Make({kName, "", security, passphrase});
    EXPECT_TRUE(IsValid(profile));
    EXPECT_TRUE(saved_profiles::Opens(profile.get(), {.ssid = kName, .bssid = "", .security = security}))
        << security;
    EXPECT_FALSE(
        saved_profiles::Opens(profile.get(), {.ssid = "Den", .bssid = "", .security = security}));
  }
}

TEST(WifiProfile, IsNotMadeOfWhatIsNoPassphrase) {
  EXPECT_EQ(wifi_profile::Make({"Den", "", WIFI_SECURITY_TYPE_WPA2_PSK, "short"}), nullptr);
  EXPECT_EQ(wifi_profile::Make({"Den", "", WIFI_SECURITY_TYPE_WEP, "abcd"}), nullptr);
  EXPECT_EQ(wifi_profile::Make({"Den", "", WIFI_SECURITY_TYPE_SAE, ""}), nullptr);
  EXPECT_EQ(wifi_profile::Make({"Den", "", WIFI_SECURITY_TYPE_EAP, kSecret}), nullptr);
  EXPECT_EQ(wifi_profile::CopyWithPassphrase(Saved().get(), "", "short"), nullptr);
}

TEST(WifiProfile, IsAfterAPinWhatItWasBefore) {
  for (const char* const before : {static_cast<const char*>(nullptr), "02:00:00:00:77:77"}) {
    for (const bool is_on_disk : {true, false}) {
      const Profile saved = Saved();
      SetRadio(saved, before);
      const Profile pinned = wifi_profile::Pin(saved.get(), kRadio, is_on_disk);
      EXPECT_TRUE(IsValid(pinned));
      EXPECT_EQ(RadioOf(pinned), kRadio);
      EXPECT_TRUE(wifi_profile::IsPinned(pinned.get()));
      EXPECT_EQ(wifi_profile::WasOnDisk(pinned.get()), is_on_disk);
      EXPECT_FALSE(wifi_profile::IsPinned(saved.get()));
      EXPECT_TRUE(IsSame(wifi_profile::Unpin(pinned.get()), saved));
    }
  }
}

// One that an ended process left pinned.
TEST(WifiProfile, KeepsTheFirstMarkWhenItIsPinnedTwice) {
  const Profile saved = Saved();
  const Profile once = wifi_profile::Pin(saved.get(), kRadio, true);
  const Profile twice = wifi_profile::Pin(once.get(), "02:00:00:00:10:00", false);
  EXPECT_EQ(RadioOf(twice), "02:00:00:00:10:00");
  EXPECT_TRUE(wifi_profile::WasOnDisk(twice.get()));
  EXPECT_TRUE(IsSame(wifi_profile::Unpin(twice.get()), saved));
}

TEST(WifiProfile, KeepsWhatOthersNoteInIt) {
  const Profile saved = Saved();
  auto* const user = NM_SETTING_USER(nm_setting_user_new());
  nm_setting_user_set_data(user, "org.example.note", "mine", nullptr);
  nm_connection_add_setting(saved.get(), NM_SETTING(user));
  EXPECT_TRUE(IsSame(wifi_profile::Unpin(wifi_profile::Pin(saved.get(), kRadio, true).get()), saved));
}

TEST(WifiProfile, IsCopiedWithAnotherPassphraseAndAnIdentityOfItsOwn) {
  const Profile saved = Saved();
  const Profile pinned = wifi_profile::Pin(saved.get(), "02:00:00:00:10:00", true);
  const Profile copy = wifi_profile::CopyWithPassphrase(pinned.get(), kRadio, "fifteen geese");
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(IsValid(copy));
  EXPECT_EQ(wifi_profile::PassphraseOf(copy.get()), "fifteen geese");
  EXPECT_EQ(RadioOf(copy), kRadio);
  EXPECT_FALSE(wifi_profile::IsPinned(copy.get()));
  EXPECT_STRNE(nm_connection_get_uuid(copy.get()), nm_connection_get_uuid(saved.get()));
  EXPECT_EQ(RadioOf(wifi_profile::Free(copy.get())), "");
}

TEST(WifiProfile, NamesAFileThatCannotBeRead) {
  const std::string directory = std::filesystem::temp_directory_path() / "certificates";
  std::filesystem::remove_all(directory);
  std::filesystem::create_directories(directory);
  const Profile profile = WithCertificates(directory);
  EXPECT_EQ(wifi_profile::UnreadableFileOf(Saved().get()), "");
  const auto put = [&](const char* file, const char* content) {
    std::ofstream(directory + "/" + file) << content;
  };
  put("ca.pem", "x");
  put("tv.pem", "x");
  EXPECT_EQ(wifi_profile::UnreadableFileOf(profile.get()), directory + "/tv.key");
  put("tv.key", "");
  EXPECT_EQ(wifi_profile::UnreadableFileOf(profile.get()), directory + "/tv.key");
  put("tv.key", "x");
  EXPECT_EQ(wifi_profile::UnreadableFileOf(profile.get()), "");
  std::filesystem::remove(directory + "/ca.pem");
  EXPECT_EQ(wifi_profile::UnreadableFileOf(profile.get()), directory + "/ca.pem");
  std::filesystem::remove_all(directory);
}
