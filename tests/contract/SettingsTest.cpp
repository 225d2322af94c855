#include <cstdlib>
#include <string>

#include "Contract.h"
#include "vconf.h"

namespace {

constexpr char kKey[] = "memory/contract/value";

void Count(keynode_t* /*node*/, void* count) {
  ++*static_cast<int*>(count);
}

class Settings : public Contract {
 protected:
  int m_first = 0;
  int m_second = 0;
};

}  // namespace

// Every type comes back as it was written, and as no other type.
// Fails: a store that keeps everything as text and converts on the way out.
TEST_F(Settings, AValueKeepsItsTypeAndContent) {
  int number = 7;
  EXPECT_EQ(vconf_get_int(kKey, &number), VCONF_ERROR);
  EXPECT_EQ(vconf_get_str(kKey), nullptr);
  EXPECT_EQ(number, 7);

  EXPECT_EQ(vconf_set_int(kKey, -42), VCONF_OK);
  EXPECT_EQ(vconf_get_int(kKey, &number), VCONF_OK);
  EXPECT_EQ(number, -42);
  EXPECT_EQ(vconf_get_bool(kKey, &number), VCONF_ERROR);
  EXPECT_EQ(vconf_get_str(kKey), nullptr);

  EXPECT_EQ(vconf_set_str(kKey, "caf\xc3\xa9 'quoted'\nsecond line"), VCONF_OK);
  char* text = vconf_get_str(kKey);
  EXPECT_STREQ(text, "caf\xc3\xa9 'quoted'\nsecond line");
  free(text);
  EXPECT_EQ(vconf_get_int(kKey, &number), VCONF_ERROR);
}

// Each write is told, also one of the value that the key had, and one to a key that is new.
// Fails: a store that tells changes and not writes: a command given twice would be carried out once.
TEST_F(Settings, EachWriteIsTold) {
  ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &m_first), VCONF_OK);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(vconf_set_str(kKey, "same"), VCONF_OK);
  }
  RunLoopUntil([&] { return m_first >= 100; });
  Settle();
  EXPECT_EQ(m_first, 100);
}

// After a watch was ended, also a write that came before is not told.
// Fails: a store that leaves queued notifications to be delivered to user data that is gone.
TEST_F(Settings, AnEndedWatchIsToldNothing) {
  ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &m_first), VCONF_OK);
  ASSERT_EQ(vconf_set_int(kKey, 1), VCONF_OK);
  ASSERT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_OK);
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_ERROR);
  Settle();
  EXPECT_EQ(m_first, 0);
}

// Several watches of one key are all told, and ended together when they share the callback.
// Fails: a store with one watch a key.
TEST_F(Settings, EveryWatchOfAKeyIsTold) {
  ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &m_first), VCONF_OK);
  ASSERT_EQ(vconf_notify_key_changed(kKey, Count, &m_second), VCONF_OK);
  ASSERT_EQ(vconf_set_bool(kKey, 1), VCONF_OK);
  RunLoopUntil([&] { return m_first == 1 && m_second == 1; });
  EXPECT_EQ(vconf_ignore_key_changed(kKey, Count), VCONF_OK);
  ASSERT_EQ(vconf_set_bool(kKey, 0), VCONF_OK);
  Settle();
  EXPECT_EQ(m_first, 1);
  EXPECT_EQ(m_second, 1);
}

// A name that leads out of the store, or that is no key, is refused everywhere.
// Fails: a store that puts the name behind its directory and opens what comes out.
TEST_F(Settings, NamesThatAreNoKeysAreRefused) {
  for (const char* key :
       {static_cast<const char*>(nullptr), "", "db", "/db/a", "db//a", "db/../a", "db/a/", "etc/a"}) {
    int number = 7;
    EXPECT_EQ(vconf_set_int(key, 1), VCONF_ERROR);
    EXPECT_EQ(vconf_get_int(key, &number), VCONF_ERROR);
    EXPECT_EQ(vconf_notify_key_changed(key, Count, &m_first), VCONF_ERROR);
    EXPECT_EQ(number, 7);
  }
}
