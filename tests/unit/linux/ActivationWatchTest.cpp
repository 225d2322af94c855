#include "ActivationWatch.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Verdict = std::optional<wifi_error_e>;
using Event = std::function<void(ActivationWatch&)>;

Event Active(NMActiveConnectionState state) {
  return [state](ActivationWatch& watch) { watch.OnActiveState(state); };
}
Event Device(NMDeviceState state, NMDeviceStateReason reason = NM_DEVICE_STATE_REASON_NONE) {
  return [=](ActivationWatch& watch) { watch.OnDeviceState(state, reason); };
}
Event State(const std::string& state) {
  return [=](ActivationWatch& watch) { watch.OnState(state); };
}
Event Auth(int code) {
  return [code](ActivationWatch& watch) { watch.OnAuthStatusCode(code); };
}
Event Assoc(int code) {
  return [code](ActivationWatch& watch) { watch.OnAssocStatusCode(code); };
}
Event Left(int reason) {
  return [reason](ActivationWatch& watch) { watch.OnDisconnectReason(reason); };
}
Event Eap(const std::string& status, const std::string& parameter) {
  return [=](ActivationWatch& watch) { watch.OnEap(status, parameter); };
}

const Event kPrepare = Device(NM_DEVICE_STATE_PREPARE);
const Event kConfig = Device(NM_DEVICE_STATE_CONFIG);
const Event kNeedAuth = Device(NM_DEVICE_STATE_NEED_AUTH);
const Event kIpConfig = Device(NM_DEVICE_STATE_IP_CONFIG);
const Event kActivated = Active(NM_ACTIVE_CONNECTION_STATE_ACTIVATED);
/// An older connection is left for the new one.
const std::vector<Event> kLeaving = {
    Device(NM_DEVICE_STATE_DEACTIVATING, NM_DEVICE_STATE_REASON_NEW_ACTIVATION),
    Device(NM_DEVICE_STATE_DISCONNECTED, NM_DEVICE_STATE_REASON_NEW_ACTIVATION)};

struct Course {
  const char* name;
  wifi_security_type_e security;
  std::vector<Event> events;
  Verdict verdict;
};

Verdict VerdictOf(const Course& course) {
  ActivationWatch watch(course.security);
  for (const Event& event : course.events) {
    event(watch);
  }
  return watch.Verdict();
}

constexpr auto kOpen = WIFI_SECURITY_TYPE_NONE;
constexpr auto kPsk = WIFI_SECURITY_TYPE_WPA2_PSK;
constexpr auto kSae = WIFI_SECURITY_TYPE_SAE;
constexpr auto kEap = WIFI_SECURITY_TYPE_EAP;

std::vector<Event> After(std::vector<Event> first, const std::vector<Event>& rest) {
  first.insert(first.end(), rest.begin(), rest.end());
  return first;
}
std::vector<Event> Talking(const std::vector<Event>& rest) {
  return After(After(kLeaving, {kPrepare, kConfig, kNeedAuth, kPrepare, kConfig}), rest);
}
std::vector<Event> WaitingForAddress(const std::vector<Event>& rest) {
  return After(Talking({State("4way_handshake"), State("completed"), kIpConfig}), rest);
}
Event Failed(NMDeviceStateReason reason) {
  return Device(NM_DEVICE_STATE_FAILED, reason);
}

}  // namespace

// What was seen of real radios, cause by cause.
TEST(ActivationWatch, NamesEachCause) {
  const std::vector<Course> courses = {
      {"let in", kPsk, WaitingForAddress({kActivated}), WIFI_ERROR_NONE},
      {"let in, no passphrase", kOpen, Talking({kIpConfig, kActivated}), WIFI_ERROR_NONE},
      {"on the list of those denied", kPsk, Talking({Auth(1)}), WIFI_ERROR_REFUSED},
      {"full", kPsk, Talking({Auth(17)}), WIFI_ERROR_REFUSED},
      {"refused by the second frame", kPsk, Talking({Auth(0), Assoc(17)}), WIFI_ERROR_REFUSED},
      {"full, and says so afterwards", kOpen, Talking({Left(5)}), WIFI_ERROR_REFUSED},
      {"gone", kPsk, Talking({Failed(NM_DEVICE_STATE_REASON_SSID_NOT_FOUND)}), WIFI_ERROR_NO_REPLY},
      {"silent", kPsk, Talking({Failed(NM_DEVICE_STATE_REASON_SUPPLICANT_TIMEOUT)}),
       WIFI_ERROR_NO_REPLY},
      {"wrong passphrase, by the supplicant", kPsk, Talking({State("4way_handshake"), Left(15)}),
       WIFI_ERROR_INVALID_KEY},
      {"wrong passphrase, another vendor's reason", kPsk, Talking({State("4way_handshake"), Left(2)}),
       WIFI_ERROR_INVALID_KEY},
      {"wrong passphrase, by the device", kPsk,
       Talking({Device(NM_DEVICE_STATE_NEED_AUTH, NM_DEVICE_STATE_REASON_SUPPLICANT_DISCONNECT)}),
       WIFI_ERROR_INVALID_KEY},
      {"no passphrase", kPsk,
       After(kLeaving, {kPrepare, kConfig, kNeedAuth, Failed(NM_DEVICE_STATE_REASON_NO_SECRETS)}),
       WIFI_ERROR_INVALID_KEY},
      {"wrong passphrase, SAE", kSae, Talking({Auth(15)}), WIFI_ERROR_INVALID_KEY},
      {"no address", kOpen, WaitingForAddress({Failed(NM_DEVICE_STATE_REASON_IP_CONFIG_UNAVAILABLE)}),
       WIFI_ERROR_DHCP_FAILED},
      {"the address runs out", kPsk, WaitingForAddress({Failed(NM_DEVICE_STATE_REASON_DHCP_FAILED)}),
       WIFI_ERROR_DHCP_FAILED},
      {"switched off", kPsk,
       Talking({Device(NM_DEVICE_STATE_UNAVAILABLE, NM_DEVICE_STATE_REASON_SUPPLICANT_FAILED)}),
       WIFI_ERROR_OPERATION_FAILED},
      {"the server turns us down", kEap,
       Talking({Eap("started", ""), Eap("remote certificate verification", "success"),
                Eap("completion", "failure")}),
       WIFI_ERROR_INVALID_KEY},
      {"we turn the server down", kEap,
       Talking({Eap("remote certificate verification", "self-signed certificate in certificate chain"),
                Eap("local TLS alert", "unknown CA"), Eap("completion", "failure")}),
       WIFI_ERROR_OPERATION_FAILED},
      {"the server lets us in", kEap, Talking({Eap("completion", "success"), kIpConfig, kActivated}),
       WIFI_ERROR_NONE},
      {"802.1X ends without a word", kEap, Talking({Failed(NM_DEVICE_STATE_REASON_NO_SECRETS)}),
       WIFI_ERROR_OPERATION_FAILED},
  };
  for (const Course& course : courses) {
    EXPECT_EQ(VerdictOf(course), course.verdict) << course.name;
  }
}

// An attempt that was given up goes on reporting for a while.
TEST(ActivationWatch, IgnoresWhatTheOlderAttemptStillReports) {
  const std::vector<Event> old = {Auth(17), Assoc(1), State("4way_handshake"), Left(15),
                                  Eap("completion", "failure")};
  for (const auto security : {kOpen, kPsk, kEap}) {
    EXPECT_EQ(VerdictOf({"", security, old, {}}), std::nullopt);
    EXPECT_EQ(VerdictOf({"", security, After(After(kLeaving, {kPrepare}), old), {}}), std::nullopt);
  }
}

// One that NetworkManager began by itself, heard of between the request and its answer.
TEST(ActivationWatch, AnOlderActivationThatMakesRoomIsNoFailure) {
  for (const Event& step : {kConfig, kIpConfig}) {
    const std::vector<Event> old = After({kPrepare, step}, kLeaving);
    EXPECT_EQ(VerdictOf({"", kPsk, old, {}}), std::nullopt);
    EXPECT_EQ(VerdictOf({"", kPsk, After(old, {Auth(17), kPrepare, Left(15)}), {}}), std::nullopt);
    EXPECT_EQ(VerdictOf({"", kPsk, After(old, {kPrepare, kConfig, Auth(17)}), {}}), WIFI_ERROR_REFUSED);
    EXPECT_EQ(VerdictOf({"", kPsk, After(old, {kPrepare, kConfig, kIpConfig, kActivated}), {}}),
              WIFI_ERROR_NONE);
  }
}

TEST(ActivationWatch, ALaterActivationIsAFailureOnceTheConnectionHasEnded) {
  ActivationWatch watch(kPsk);
  for (const Event& event : After(Talking({}), kLeaving)) {
    event(watch);
  }
  EXPECT_EQ(watch.Verdict(), std::nullopt);
  watch.OnActiveState(NM_ACTIVE_CONNECTION_STATE_DEACTIVATED);
  EXPECT_TRUE(watch.IsWaitingForReason());
  watch.OnReasonDoesNotCome();
  EXPECT_EQ(watch.Verdict(), WIFI_ERROR_OPERATION_FAILED);
}

// Steps that every connection takes, and answers after which the supplicant goes on by itself.
TEST(ActivationWatch, WaitsWhereNothingIsDecided) {
  const std::vector<Course> courses = {
      {"codes of success", kPsk, Talking({Auth(0), Assoc(0)}), {}},
      {"the TV itself left", kPsk, Talking({Left(-3), Left(0)}), {}},
      {"come later", kPsk, Talking({Assoc(30)}), {}},
      {"a forgotten key", kPsk, Talking({Assoc(53)}), {}},
      {"SAE's own steps", kSae, Talking({Auth(76), Auth(77), Auth(126), Auth(127)}), {}},
      {"a reason outside the handshake", kPsk, Talking({State("associating"), Left(2)}), {}},
      {"the handshake of a network without a passphrase",
       kOpen,
       Talking({State("4way_handshake"), Left(15)}),
       {}},
      {"a code while the address is awaited", kPsk, WaitingForAddress({Auth(17), Left(15)}), {}},
      {"leaving the older network", kPsk, kLeaving, {}},
  };
  for (const Course& course : courses) {
    EXPECT_EQ(VerdictOf(course), std::nullopt) << course.name;
  }
}

TEST(ActivationWatch, KeepsItsFirstVerdict) {
  EXPECT_EQ(
      VerdictOf(
          {"", kPsk, Talking({Auth(17), Failed(NM_DEVICE_STATE_REASON_NO_SECRETS), kActivated}), {}}),
      WIFI_ERROR_REFUSED);
}

TEST(ActivationWatch, WaitsForTheReasonOfAnEndAndNotForEver) {
  ActivationWatch watch(kPsk);
  EXPECT_FALSE(watch.IsWaitingForReason());
  watch.OnReasonDoesNotCome();
  EXPECT_EQ(watch.Verdict(), std::nullopt);
  watch.OnDeviceState(NM_DEVICE_STATE_CONFIG, NM_DEVICE_STATE_REASON_NONE);
  watch.OnActiveState(NM_ACTIVE_CONNECTION_STATE_DEACTIVATED);
  EXPECT_TRUE(watch.IsWaitingForReason());
  ActivationWatch told = watch;
  told.OnDeviceState(NM_DEVICE_STATE_FAILED, NM_DEVICE_STATE_REASON_SSID_NOT_FOUND);
  EXPECT_FALSE(told.IsWaitingForReason());
  EXPECT_EQ(told.Verdict(), WIFI_ERROR_NO_REPLY);
  watch.OnReasonDoesNotCome();
  EXPECT_EQ(watch.Verdict(), WIFI_ERROR_OPERATION_FAILED);
}
