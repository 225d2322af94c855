#include "system_info.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Files.h"
#include "SystemInfo.h"
#include "TestLog.h"

namespace {

constexpr char kModel[] = R"(# a model
[com.velanor/featureconf]
network.network_support=1
networkui.network_popup_supported=true
product.b2b_option_support=0
tv_model_type=-3
wrong_bool=maybe
wrong_int=12apples
huge=99999999999
empty=
text=A TV; with text

[product]
sw_version=T-PLR-1.2
wifi_vendor=4
)";

void UseModel(std::string_view content) {
  files::Write(SystemInfo::kDefaultFile, content);
}

int Bool(const char* name, bool& value) {
  return system_info_get_custom_bool((std::string(SYSTEM_INFO_FEATURE_PREFIX) + name).c_str(), &value);
}

int Int(const char* name, int& value) {
  return system_info_get_custom_int((std::string(SYSTEM_INFO_FEATURE_PREFIX) + name).c_str(), &value);
}

bool WarnedOf(const std::string& text) {
  for (const std::string& line : test_log::Lines()) {
    if (line.find(text) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

TEST(SystemInfo, FeaturesComeFromTheGroupOfTheirPath) {
  UseModel(kModel);
  bool truth = false;
  int number = 0;
  EXPECT_EQ(system_info_get_custom_bool(FEATURE_NETWORK_POPUP_SUPPORTED, &truth),
            SYSTEM_INFO_ERROR_NONE);
  EXPECT_TRUE(truth);
  EXPECT_EQ(system_info_get_custom_bool(FEATURE_B2B_OPTION_SUPPORT, &truth), SYSTEM_INFO_ERROR_NONE);
  EXPECT_FALSE(truth);
  EXPECT_EQ(system_info_get_custom_int(FEATURE_NETWORK_SUPPORT, &number), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(number, -3);
  EXPECT_TRUE(test_log::Lines().empty());
}

TEST(SystemInfo, AValueOfAnotherTypeIsAnInputError) {
  UseModel(kModel);
  bool truth = true;
  int number = 7;
  EXPECT_EQ(Bool("wrong_bool", truth), SYSTEM_INFO_ERROR_IO_ERROR);
  EXPECT_EQ(Bool("tv_model_type", truth), SYSTEM_INFO_ERROR_IO_ERROR);
  EXPECT_EQ(Bool("empty", truth), SYSTEM_INFO_ERROR_IO_ERROR);
  for (const char* name : {"wrong_int", "huge", "empty", "text", "networkui.network_popup_supported"}) {
    EXPECT_EQ(Int(name, number), SYSTEM_INFO_ERROR_IO_ERROR) << name;
  }
  EXPECT_TRUE(truth);
  EXPECT_EQ(number, 7);
}

TEST(SystemInfo, WhatTheModelDoesNotSayIsNotSupported) {
  UseModel(kModel);
  bool truth = true;
  int number = 7;
  EXPECT_EQ(Bool("never.heard.of", truth), SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  for (const char* key : {"other.group/tv_model_type", "tv_model_type", "", "/", "/tv_model_type",
                          "com.velanor/featureconf/", "com.velanor/featureconf", "a/b/c/d"}) {
    EXPECT_EQ(system_info_get_custom_int(key, &number), SYSTEM_INFO_ERROR_NOT_SUPPORTED) << key;
  }
  EXPECT_TRUE(truth);
  EXPECT_EQ(number, 7);
}

TEST(SystemInfo, NullIsAnInvalidParameter) {
  UseModel(kModel);
  bool truth = true;
  int number = 7;
  EXPECT_EQ(system_info_get_custom_bool(nullptr, &truth), SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_custom_int(nullptr, &number), SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_custom_bool(FEATURE_B2B_OPTION_SUPPORT, nullptr),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, nullptr),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_value_int(SYSTEM_INFO_KEY_WIFI_VENDOR, nullptr),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_value_string(SYSTEM_INFO_KEY_PRODUCT_SW_VERSION, nullptr),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(number, 7);
}

TEST(SystemInfo, FactsOfTheProductGoByNumber) {
  UseModel(kModel);
  int number = 0;
  char* text = nullptr;
  EXPECT_EQ(system_info_get_value_int(static_cast<system_info_key_e>(281), &number), 0);
  EXPECT_EQ(number, 4);
  EXPECT_EQ(system_info_get_value_string(static_cast<system_info_key_e>(128), &text), 0);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "T-PLR-1.2");
  std::free(text);
  text = nullptr;
  EXPECT_EQ(system_info_get_value_int(SYSTEM_INFO_KEY_PRODUCT_SW_VERSION, &number),
            SYSTEM_INFO_ERROR_IO_ERROR);
  EXPECT_EQ(number, 4);
}

TEST(SystemInfo, AnUnknownNumberIsAnInvalidParameter) {
  UseModel(kModel);
  int number = 7;
  char* text = nullptr;
  EXPECT_EQ(system_info_get_value_int(static_cast<system_info_key_e>(200), &number),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(system_info_get_value_string(static_cast<system_info_key_e>(200), &text),
            SYSTEM_INFO_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
}

TEST(SystemInfo, WithoutAFileNothingIsSupported) {
  int number = 7;
  char* text = nullptr;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(system_info_get_value_string(SYSTEM_INFO_KEY_PRODUCT_SW_VERSION, &text),
            SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, nullptr);
  EXPECT_TRUE(WarnedOf("no facts about this model: /etc/pelorus/system-info.conf"));
}

TEST(SystemInfo, AMalformedFileSaysNothingAtAll) {
  UseModel(std::string(kModel) + "this is no line of a key file\n");
  int number = 7;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  EXPECT_EQ(number, 7);
  EXPECT_TRUE(WarnedOf("no facts about this model"));
}

TEST(SystemInfo, BinaryAndEmptyFilesSayNothing) {
  std::string content(
      "\x7f"
      "ELF\0\1\2\xff[\n=\n",
      12);
  UseModel(content);
  int number = 7;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NOT_SUPPORTED);
}

TEST(SystemInfo, TextThatIsNotUtf8IsAnInputError) {
  UseModel("[product]\nsw_version=caf\xe9\n");
  char* text = nullptr;
  EXPECT_EQ(system_info_get_value_string(SYSTEM_INFO_KEY_PRODUCT_SW_VERSION, &text),
            SYSTEM_INFO_ERROR_IO_ERROR);
  EXPECT_EQ(text, nullptr);
}

TEST(SystemInfo, TheEnvironmentNamesAnotherFile) {
  UseModel(kModel);
  files::Write("/run/projector.conf", "[com.velanor/featureconf]\ntv_model_type=9\n");
  setenv(SystemInfo::kFileVariable, "/run/projector.conf", 1);
  int number = 0;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(number, 9);
}

TEST(SystemInfo, AnEmptyNameInTheEnvironmentIsNone) {
  UseModel(kModel);
  setenv(SystemInfo::kFileVariable, "", 1);
  int number = 0;
  EXPECT_EQ(system_info_get_custom_int(FEATURE_TV_MODEL_TYPE, &number), SYSTEM_INFO_ERROR_NONE);
}

TEST(SystemInfo, OverrideMakesItAnotherModel) {
  UseModel(kModel);
  SystemInfo& info = SystemInfo::Instance();
  int number = 0;
  bool truth = true;
  EXPECT_TRUE(info.Override(FEATURE_TV_MODEL_TYPE, "12"));
  EXPECT_EQ(Int("tv_model_type", number), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(number, 12);
  EXPECT_TRUE(info.Override("brand.new/fact", "false"));
  EXPECT_EQ(system_info_get_custom_bool("brand.new/fact", &truth), SYSTEM_INFO_ERROR_NONE);
  EXPECT_FALSE(truth);
  EXPECT_TRUE(info.Override("brand.new/fact", "true"));
  EXPECT_EQ(system_info_get_custom_bool("brand.new/fact", &truth), SYSTEM_INFO_ERROR_NONE);
  EXPECT_TRUE(truth) << "after it was asked for";
  EXPECT_TRUE(info.Override(FEATURE_TV_MODEL_TYPE, "broken"));
  EXPECT_EQ(Int("tv_model_type", number), SYSTEM_INFO_ERROR_IO_ERROR);
  EXPECT_TRUE(info.Override(FEATURE_TV_MODEL_TYPE, nullptr));
  EXPECT_EQ(Int("tv_model_type", number), SYSTEM_INFO_ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(info.Override(FEATURE_TV_MODEL_TYPE, nullptr)) << "nothing to take away is no error";
}

TEST(SystemInfo, OverrideRefusesNamesThatNoKeyFileCanHold) {
  SystemInfo& info = SystemInfo::Instance();
  for (const char* key : {"", "/", "name", "/name", "group/", "gro[up/name", "gro]up/name",
                          "group/na=me", "group/na\nme", "gro\nup/name", "group/ name", "group/name ",
                          "group/na[me", "gr\xffoup/name", "group/na\xffme"}) {
    EXPECT_FALSE(info.Override(key, "1")) << key;
    EXPECT_FALSE(info.Override(key, nullptr)) << key;
  }
}
