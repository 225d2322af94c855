#include <vector>

#include "Contract.h"
#include "tapi.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace {

constexpr char kStatus[] = TAPI_PROP_MODEM_DONGLE_STATUS;

using Changes = std::vector<int>;

struct User {
  TapiHandle* handle = nullptr;
  Changes changes;
  bool ends_on_event = false;

  void Listen() {
    handle = tel_init(nullptr);
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(tel_register_noti_event(handle, kStatus, OnChange, this), TAPI_API_SUCCESS);
  }
  static void OnChange(TapiHandle* handle, const char* event, void* data, void* self) {
    auto* user = static_cast<User*>(self);
    EXPECT_EQ(handle, user->handle);
    EXPECT_STREQ(event, kStatus);
    user->changes.push_back(*static_cast<int*>(data));
    if (user->ends_on_event) {
      EXPECT_EQ(tel_deinit(handle), TAPI_API_SUCCESS);
    }
  }
  void WaitFor(const Changes& expected) {
    RunLoopUntil([&] { return changes.size() >= expected.size(); });
    EXPECT_EQ(changes, expected);
  }
};

class Telephony : public Contract {
 protected:
  void StartService() {
    m_room->StartTelephony();
    WaitForReady(1);
  }
  static void WaitForReady(int expected) {
    RunLoopUntil([=] {
      int is_ready = -1;
      return vconf_get_bool(vconf_keys::kTelephonyReady, &is_ready) == VCONF_OK && is_ready == expected;
    });
  }

  User m_user;
  User m_other;
};

}  // namespace

// Without the service a session cannot be opened.
// Fails: a backend that hands out a session in which nothing works, or that starts the service.
TEST_F(Telephony, WithoutTheServiceThereIsNoSession) {
  EXPECT_EQ(tel_init(nullptr), nullptr);
}

// Null arguments, an unknown property and a session that was ended are refused, and nothing is written.
// Fails: a backend that answers 0 for any property.
TEST_F(Telephony, WrongArgumentsAreRefused) {
  StartService();
  m_user.Listen();
  int status = 7;
  EXPECT_EQ(tel_get_property_int(nullptr, kStatus, &status), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_get_property_int(m_user.handle, nullptr, &status), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_get_property_int(m_user.handle, kStatus, nullptr), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_get_property_int(m_user.handle, "no.such:property", &status), TAPI_API_NOT_SUPPORTED);
  EXPECT_EQ(tel_register_noti_event(m_user.handle, kStatus, nullptr, nullptr), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_register_noti_event(m_user.handle, "no.such:property", User::OnChange, nullptr),
            TAPI_API_NOT_SUPPORTED);
  EXPECT_EQ(tel_deinit(nullptr), TAPI_API_INVALID_INPUT);
  EXPECT_EQ(tel_deinit(m_user.handle), TAPI_API_SUCCESS);
  EXPECT_EQ(tel_deinit(m_user.handle), TAPI_API_INVALID_INPUT);
  EXPECT_NE(tel_get_property_int(m_user.handle, kStatus, &status), TAPI_API_SUCCESS);
  EXPECT_EQ(status, 7);
}

// The property is 1 while a dongle is in, and each change is told, in its order.
// Fails: a backend that tells how many modems there are, or repeats itself when a modem changes.
TEST_F(Telephony, EachDongleIsTold) {
  StartService();
  m_user.Listen();
  Changes expected;
  int status = -1;
  for (int i = 0; i < 5; ++i) {
    m_room->InsertDongle();
    expected.push_back(1);
    m_user.WaitFor(expected);
    EXPECT_EQ(tel_get_property_int(m_user.handle, kStatus, &status), TAPI_API_SUCCESS);
    EXPECT_EQ(status, 1);
    m_room->RemoveDongle();
    expected.push_back(0);
    m_user.WaitFor(expected);
    EXPECT_EQ(tel_get_property_int(m_user.handle, kStatus, &status), TAPI_API_SUCCESS);
    EXPECT_EQ(status, 0);
  }
  Settle();
  EXPECT_EQ(m_user.changes, expected);
}

// The same pair of name and callback again renews the first: each change is told once.
// Fails: a backend that adds a second subscription, so that one dongle shows two popups.
TEST_F(Telephony, ARenewedSubscriptionIsToldOnce) {
  StartService();
  m_user.Listen();
  ASSERT_EQ(tel_register_noti_event(m_user.handle, kStatus, User::OnChange, &m_user), TAPI_API_SUCCESS);
  m_room->InsertDongle();
  m_user.WaitFor({1});
  Settle();
  EXPECT_EQ(m_user.changes, Changes{1});
}

// A callback may end its own session; another session is still told.
// Fails: a backend that walks its sessions while they end.
TEST_F(Telephony, ACallbackMayEndItsSession) {
  StartService();
  m_user.Listen();
  m_other.Listen();
  m_user.ends_on_event = true;
  m_room->InsertDongle();
  m_other.WaitFor({1});
  m_room->RemoveDongle();
  m_other.WaitFor({1, 0});
  EXPECT_EQ(m_user.changes, Changes{1});
}

// A service that goes is said by the key and by the functions, and the session works again once it is
// back. Fails: a backend that takes the end of the service for the end of the dongle, or never looks
// again.
TEST_F(Telephony, ServiceGoesAndComesBack) {
  StartService();
  m_user.Listen();
  m_room->StopTelephony();
  WaitForReady(0);
  Settle();
  int status = 7;
  EXPECT_EQ(tel_get_property_int(m_user.handle, kStatus, &status), TAPI_API_OPERATION_FAILED);
  EXPECT_EQ(status, 7);
  EXPECT_EQ(tel_init(nullptr), nullptr);
  EXPECT_EQ(m_user.changes, Changes{});

  StartService();
  EXPECT_EQ(tel_get_property_int(m_user.handle, kStatus, &status), TAPI_API_SUCCESS);
  EXPECT_EQ(status, 0);
  m_room->InsertDongle();
  m_user.WaitFor({1});
}
