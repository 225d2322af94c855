#include <set>
#include <sstream>
#include <tuple>

#include <sys/mount.h>

#include "PelorusctlFixture.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;

TEST_F(Pelorusctl, WhatIsSetIsReadBackWithItsType) {
  for (const auto& [key, value, shown, stored] :
       {std::tuple(kStringKey, "Wireless", "Wireless\n", "'Wireless'\n"),
        std::tuple(kStringKey, "", "\n", "''\n"),
        std::tuple(kStringKey, "[\"a\",1]", "[\"a\",1]\n", "'[\"a\",1]'\n"),
        std::tuple(kStringKey, "get", "get\n", "'get'\n"), std::tuple(kIntKey, "-5", "-5\n", "-5\n"),
        std::tuple(kIntKey, "2147483647", "2147483647\n", "2147483647\n"),
        std::tuple(kIntKey, "-2147483648", "-2147483648\n", "-2147483648\n"),
        std::tuple(kBoolKey, "true", "true\n", "true\n"),
        std::tuple(kBoolKey, "off", "false\n", "false\n")}) {
    const Result set = Ctl({"set", key, value});
    EXPECT_EQ(set.code, 0) << key << " " << value << ": " << set.err;
    EXPECT_EQ(set.out + set.err, "");
    EXPECT_EQ(ContentOf(FileOf(key)), stored);
    const Result get = Ctl({"get", key});
    EXPECT_EQ(get.code, 0) << get.err;
    EXPECT_EQ(get.out, shown);
  }
}

TEST_F(Pelorusctl, BoolsAreTypedInManyWays) {
  for (const char* yes : {"true", "1", "yes", "on", "YES"}) {
    ASSERT_EQ(Ctl({"set", kBoolKey, yes}).code, 0) << yes;
    EXPECT_EQ(Ctl({"get", kBoolKey}).out, "true\n") << yes;
    ASSERT_EQ(Ctl({"set", kBoolKey, "no"}).code, 0);
  }
  for (const char* no : {"false", "0", "no", "off", "Off"}) {
    ASSERT_EQ(Ctl({"set", kBoolKey, no}).code, 0) << no;
    EXPECT_EQ(Ctl({"get", kBoolKey}).out, "false\n") << no;
    ASSERT_EQ(Ctl({"set", kBoolKey, "yes"}).code, 0);
  }
}

TEST_F(Pelorusctl, AValueThatBeginsWithADashNeedsTwoDashesBefore) {
  EXPECT_EQ(Ctl({"set", kStringKey, "-x"}).code, 2);
  EXPECT_EQ(Ctl({"set", kStringKey, "--", "-x"}).code, 0);
  EXPECT_EQ(Ctl({"get", kStringKey}).out, "-x\n");
}

TEST_F(Pelorusctl, AValueOfTheWrongTypeIsRefusedWithWhatWasExpected) {
  ASSERT_EQ(Ctl({"set", kIntKey, "7"}).code, 0);
  for (const char* value : {"x", "7x", "", " 7", "7.0", "2147483648", "-2147483649", "true"}) {
    const Result result = Ctl({"set", kIntKey, value});
    EXPECT_EQ(result.code, 2) << value;
    EXPECT_TRUE(Contains(result.err, "a whole number from -2147483648 to 2147483647")) << result.err;
  }
  EXPECT_EQ(Ctl({"get", kIntKey}).out, "7\n");
  const Result result = Ctl({"set", kBoolKey, "maybe"});
  EXPECT_EQ(result.code, 2);
  EXPECT_TRUE(Contains(result.err, "true, false, yes, no, on, off, 1 or 0")) << result.err;
  EXPECT_FALSE(fs::exists(FileOf(kBoolKey)));
}

TEST_F(Pelorusctl, AKeyOfTheCatalogueKeepsItsType) {
  const Result result = Ctl({"set", kStringKey, "5", "--type", "int"});
  EXPECT_EQ(result.code, 2);
  EXPECT_TRUE(Contains(result.err, "is a string")) << result.err;
  EXPECT_FALSE(fs::exists(FileOf(kStringKey)));
  EXPECT_EQ(Ctl({"set", kStringKey, "5", "--type", "string"}).code, 0);
  EXPECT_EQ(Ctl({"set", kStringKey, "5", "--type", "float"}).code, 2);
}

TEST_F(Pelorusctl, AnUnknownKeyNeedsATypeAndKeepsIt) {
  const Result without = Ctl({"set", "db/my/key", "5"});
  EXPECT_EQ(without.code, 2);
  EXPECT_TRUE(Contains(without.err, "--type")) << without.err;
  EXPECT_FALSE(fs::exists(FileOf("db/my")));
  EXPECT_EQ(Ctl({"set", "db/my/key", "5", "--type", "int"}).code, 0);
  EXPECT_EQ(Ctl({"get", "db/my/key"}).out, "5\n");
  EXPECT_EQ(Ctl({"set", "db/my/key", "5", "--type", "string"}).code, 2);
  EXPECT_EQ(ContentOf(FileOf("db/my/key")), "5\n");
}

TEST_F(Pelorusctl, AMisspeltKeyIsAnsweredWithTheRightOne) {
  const std::string suggestion = "did you mean db/menu/network/network_type?";
  for (const char* typed : {"db/menu/network/network_tipe", "db/network/network_type", "network_type",
                            "db/menu/network/Network_Type"}) {
    const Result get = Ctl({"get", typed});
    EXPECT_EQ(get.code, 1) << typed;
    EXPECT_TRUE(Contains(get.err, suggestion)) << get.err;
    EXPECT_TRUE(Contains(Ctl({"set", typed, "x"}).err, suggestion)) << typed;
  }
  EXPECT_FALSE(Contains(Ctl({"get", "db/something/else"}).err, "did you mean"));
}

TEST_F(Pelorusctl, AKeyWithoutAValueIsSaidSo) {
  const Result result = Ctl({"get", kStringKey});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(Contains(result.err, "db/menu/network/network_type has no value")) << result.err;
}

TEST_F(Pelorusctl, ADamagedValueIsSaidSoAndCanBeSetAnew) {
  for (const char* content : {"", "\n", "'Wire", "Wireless", "'a' 'b'", "\xff\xfe"}) {
    WriteFile(FileOf(kStringKey), content);
    const Result result = Ctl({"get", kStringKey});
    EXPECT_EQ(result.code, 1) << content;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(Contains(result.err, "damaged") && Contains(result.err, FileOf(kStringKey)))
        << result.err;
    EXPECT_TRUE(Contains(Ctl({"list", kStringKey}).out, "(damaged)"));
  }
  EXPECT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  EXPECT_EQ(Ctl({"get", kStringKey}).out, "Wired\n");
}

TEST_F(Pelorusctl, AValueOfAnotherTypeThanTheCataloguesIsSaidSo) {
  WriteFile(FileOf(kStringKey), "5\n");
  const Result string_key = Ctl({"get", kStringKey});
  EXPECT_EQ(string_key.code, 1);
  EXPECT_EQ(string_key.out, "");
  EXPECT_TRUE(Contains(string_key.err, "should hold a string and holds an int: 5")) << string_key.err;
  WriteFile(FileOf(kIntKey), "true\n");
  EXPECT_TRUE(Contains(Ctl({"get", kIntKey}).err, "should hold an int and holds a bool: true"));
  WriteFile(FileOf(kBoolKey), "[1, 2]\n");
  const Result strange = Ctl({"get", kBoolKey});
  EXPECT_EQ(strange.code, 1);
  EXPECT_TRUE(Contains(strange.err, "a type that no setting has")) << strange.err;
}

TEST_F(Pelorusctl, NamesThatLeaveTheStoreAreRefused) {
  WriteFile("/run/secret", "'secret'\n");
  for (const char* name : {"../etc/passwd", "/db/x", "db//x", "db/.x", "db/../../secret", "db/", "db",
                           "", "memory/../secret", "/run/secret", "etc/passwd"}) {
    for (const Arguments& arguments :
         {Arguments{"get", name}, Arguments{"set", name, "1", "--type", "int"},
          Arguments{"watch", name}}) {
      const Result result = Ctl(arguments);
      EXPECT_EQ(result.code, 1) << arguments[0] << " " << name;
      EXPECT_EQ(result.out, "");
      EXPECT_TRUE(Contains(result.err, "cannot be a key")) << result.err;
    }
  }
  EXPECT_EQ(ContentOf("/run/secret"), "'secret'\n");
  EXPECT_TRUE(fs::is_empty(kStore));
}

TEST_F(Pelorusctl, ASymbolicLinkInPlaceOfAValueIsNotFollowed) {
  WriteFile("/run/secret", "'secret'\n");
  fs::create_directories(fs::path(FileOf(kStringKey)).parent_path());
  fs::create_symlink("/run/secret", FileOf(kStringKey));
  const Result result = Ctl({"get", kStringKey});
  EXPECT_EQ(result.code, 1);
  EXPECT_FALSE(Contains(result.out + result.err, "'secret'"));
}

TEST_F(Pelorusctl, TheBeginningOfKeysIsNotAKey) {
  ASSERT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  const Result get = Ctl({"get", "db/menu/network"});
  EXPECT_EQ(get.code, 1);
  EXPECT_TRUE(Contains(get.err, "beginning of others")) << get.err;
  EXPECT_EQ(Ctl({"set", "db/menu/network", "1", "--type", "int"}).code, 1);
}

TEST_F(Pelorusctl, AReadOnlyStoreRefusesWritesAndKeepsItsValues) {
  ASSERT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  ASSERT_EQ(mount(kStore, kStore, nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(mount(nullptr, kStore, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const Result result = Ctl({"set", kStringKey, "Wireless"});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(Contains(result.err, "Read-only file system")) << result.err;
  const Result get = Ctl({"get", kStringKey});
  EXPECT_EQ(get.code, 0);
  EXPECT_EQ(get.out, "Wired\n");
  const Result watch = Ctl({"watch", kBoolKey});
  EXPECT_EQ(watch.code, 1);
  EXPECT_TRUE(Contains(watch.err, "cannot watch")) << watch.err;
}

TEST_F(Pelorusctl, AFullDiskRefusesWritesAndKeepsItsValues) {
  ASSERT_EQ(mount("tmpfs", kStore, "tmpfs", 0, "size=64k"), 0);
  ASSERT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  std::ofstream(std::string(kStore) + "/ballast") << std::string(1 << 17, 'x');
  const Result result = Ctl({"set", kStringKey, std::string(10000, 'y')});
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(Contains(result.err, "No space left")) << result.err;
  EXPECT_EQ(Ctl({"get", kStringKey}).out, "Wired\n");
}

TEST_F(Pelorusctl, AStoreThatIsNotThereIsNotReachable) {
  for (const Arguments& arguments :
       {Arguments{"get", kStringKey}, Arguments{"list"}, Arguments{"watch", kStringKey}}) {
    Arguments elsewhere{"--settings", "/run/nowhere"};
    elsewhere.insert(elsewhere.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(Ctl(elsewhere).code, 3) << arguments[0];
    EXPECT_FALSE(fs::exists("/run/nowhere"));
  }
  WriteFile("/run/file", "");
  EXPECT_EQ(Ctl({"--settings", "/run/file", "set", kIntKey, "1"}).code, 3);
  EXPECT_EQ(Ctl({"list", "--names", "--settings", "/run/nowhere"}).code, 0);
}

TEST_F(Pelorusctl, TheOptionBeatsTheEnvironmentAndMayStandAnywhere) {
  ASSERT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  ASSERT_EQ(Ctl({"set", kStringKey, "Cellular", "--settings", "/run/other"}).code, 0);
  EXPECT_EQ(Ctl({"get", kStringKey}).out, "Wired\n");
  EXPECT_EQ(Ctl({"--settings", "/run/other", "get", kStringKey}).out, "Cellular\n");
  EXPECT_EQ(Ctl({"get", kStringKey, "--settings=/run/other"}).out, "Cellular\n");
}

TEST_F(Pelorusctl, WithoutASettingTheStoreIsTheSystems) {
  unsetenv("PELORUS_SETTINGS_DIR");
  EXPECT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  EXPECT_EQ(ContentOf("/var/lib/pelorus/settings/db/menu/network/network_type"), "'Wired'\n");
  EXPECT_EQ(Ctl({"set", kBoolKey, "on"}).code, 0);
  EXPECT_EQ(ContentOf("/run/pelorus/settings/memory/telephony/telephony_ready"), "true\n");
  EXPECT_EQ(Ctl({"get", kBoolKey}).out, "true\n");
}

TEST_F(Pelorusctl, ScriptsGetTheBareValueOrJson) {
  ASSERT_EQ(Ctl({"set", kStringKey, "two\nlines \"quoted\""}).code, 0);
  EXPECT_EQ(Ctl({"get", "--raw", kStringKey}).out, "two\nlines \"quoted\"");
  EXPECT_EQ(Ctl({"get", "--json", kStringKey}).out,
            "{\"key\":\"db/menu/network/network_type\",\"type\":\"string\","
            "\"value\":\"two\\nlines \\\"quoted\\\"\"}\n");
  ASSERT_EQ(Ctl({"set", kIntKey, "3"}).code, 0);
  EXPECT_EQ(Ctl({"get", "--json", kIntKey}).out,
            "{\"key\":\"db/menu/network/networkapp_status\",\"type\":\"int\",\"value\":3}\n");
  ASSERT_EQ(Ctl({"set", kBoolKey, "on"}).code, 0);
  EXPECT_TRUE(Contains(Ctl({"get", "--json", kBoolKey}).out, "\"value\":true}"));
  EXPECT_EQ(Ctl({"get", "--json", "--raw", kBoolKey}).code, 2);
}

TEST_F(Pelorusctl, ANameThatIsNotUtf8IsKeptByteByByte) {
  ASSERT_EQ(Ctl({"set", "db/menu/network/ap_name", "caf\xe9"}).code, 0);
  EXPECT_EQ(Ctl({"get", "--raw", "db/menu/network/ap_name"}).out, "caf\xe9");
}

TEST_F(Pelorusctl, ListShowsTheWholeCatalogueAndOnDemandWhatElseIsThere) {
  ASSERT_EQ(Ctl({"set", kStringKey, "Wired"}).code, 0);
  ASSERT_EQ(Ctl({"set", "db/my/key", "1", "--type", "int"}).code, 0);
  const Result list = Ctl({"list"});
  EXPECT_EQ(list.code, 0);
  for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
    EXPECT_TRUE(Contains(list.out, std::string(entry.name) + " ")) << entry.name;
    EXPECT_TRUE(Contains(list.out, std::string(entry.meaning) + "\n")) << entry.name;
  }
  EXPECT_TRUE(Contains(list.out, "'Wired'"));
  EXPECT_FALSE(Contains(list.out, "db/my/key"));
  const Result all = Ctl({"list", "--all"});
  EXPECT_TRUE(Contains(all.out, "db/my/key")) << all.out;
  EXPECT_EQ(Ctl({"list", "--all", "--names", "db/my"}).out, "db/my/key\n");
  EXPECT_EQ(Ctl({"list", "db/htv", "--json"}).out,
            "[{\"key\":\"db/htv/customer_status\",\"meaning\":\"guest status of a hospitality "
            "installation\",\"type\":\"int\",\"value\":null}]\n");
  EXPECT_EQ(Ctl({"list", "zz"}).code, 1);
}

TEST_F(Pelorusctl, NamesAreThoseOfTheCatalogue) {
  std::set<std::string> names;
  std::istringstream lines(Ctl({"list", "--names"}).out);
  for (std::string line; std::getline(lines, line);) {
    names.insert(line);
  }
  EXPECT_EQ(names.size(), std::size(vconf_keys::kCatalogue));
  for (const vconf_keys::Entry& entry : vconf_keys::kCatalogue) {
    EXPECT_TRUE(names.contains(std::string(entry.name))) << entry.name;
  }
}

TEST_F(Pelorusctl, ACommandLineThatMakesNoSenseIsAUsageError) {
  for (const Arguments& arguments :
       {Arguments{}, Arguments{"gett", kIntKey}, Arguments{"--bogus"}, Arguments{"get"},
        Arguments{"get", kIntKey, "extra"}, Arguments{"set", kIntKey}, Arguments{"watch"},
        Arguments{"watch", kIntKey, "--count", "0"}, Arguments{"watch", kIntKey, "--count", "x"},
        Arguments{"list", "--names", "--json"}, Arguments{"--settings", "", "list"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(Contains(result.err, "--help")) << result.err;
  }
  EXPECT_TRUE(Contains(Ctl({"gett"}).err, "did you mean get?"));
}

TEST_F(Pelorusctl, HelpAndVersionAreAnswers) {
  for (const Arguments& arguments :
       {Arguments{"--help"}, Arguments{"get", "--help"}, Arguments{"set", "--help"},
        Arguments{"list", "--help"}, Arguments{"watch", "--help"}}) {
    const Result result = Ctl(arguments);
    EXPECT_EQ(result.code, 0) << arguments[0];
    EXPECT_TRUE(Contains(result.out, "Usage: pelorusctl")) << result.out;
    EXPECT_EQ(result.err, "");
  }
  EXPECT_TRUE(Ctl({"--version"}).out.starts_with("pelorusctl "));
}

TEST_F(Pelorusctl, OutputThatCannotBeWrittenIsAFailure) {
  ASSERT_EQ(Ctl({"set", kIntKey, "1"}).code, 0);
  const std::string command = std::string(PELORUSCTL) + " get " + kIntKey + " > /dev/full";
  g_autofree char* err = nullptr;
  int status = 0;
  const char* shell[] = {"/bin/sh", "-c", command.c_str(), nullptr};
  ASSERT_TRUE(g_spawn_sync(nullptr, const_cast<char**>(shell), nullptr, G_SPAWN_DEFAULT, nullptr,
                           nullptr, nullptr, &err, &status, nullptr));
  EXPECT_EQ(WEXITSTATUS(status), 1) << err;
}
