#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "system_info.h"

namespace {

/// What a sample must answer; that it answers every query at all is checked with it.
struct Model {
  const char* file;
  int network_support;
  bool popups;
  bool business;
  int model_type;
  bool projector;
  int engine;
  int wifi_vendor;
};

std::ostream& operator<<(std::ostream& out, const Model& model) {
  return out << model.file;
}

/// Each test is a process of its own, and the process loads the one file.
class SampleSystemInfo : public testing::TestWithParam<Model> {
 protected:
  SampleSystemInfo() {
    const std::string path = std::string(SAMPLES) + "/" + GetParam().file + ".conf";
    setenv("PELORUS_SYSTEM_INFO", path.c_str(), 1);
  }

  static bool Bool(const char* key, bool otherwise) {
    bool value = otherwise;
    EXPECT_EQ(system_info_get_custom_bool(key, &value), SYSTEM_INFO_ERROR_NONE) << key;
    return value;
  }

  static int Int(const char* key) {
    int value = -1;
    EXPECT_EQ(system_info_get_custom_int(key, &value), SYSTEM_INFO_ERROR_NONE) << key;
    return value;
  }
};

}  // namespace

TEST_P(SampleSystemInfo, AnswersEveryQueryOfTheDaemon) {
  const Model& model = GetParam();
  EXPECT_EQ(Int(FEATURE_NETWORK_SUPPORT), model.network_support);
  EXPECT_EQ(Bool(FEATURE_NETWORK_POPUP_SUPPORTED, !model.popups), model.popups);
  EXPECT_EQ(Bool(FEATURE_B2B_OPTION_SUPPORT, !model.business), model.business);
  EXPECT_EQ(Int(FEATURE_TV_MODEL_TYPE), model.model_type);
  EXPECT_EQ(Bool(FEATURE_PROJECTOR_SUPPORT, !model.projector), model.projector);
  EXPECT_EQ(Int(FEATURE_PROJECTOR_ENGINE_TYPE), model.engine);

  int vendor = -1;
  EXPECT_EQ(system_info_get_value_int(SYSTEM_INFO_KEY_WIFI_VENDOR, &vendor), SYSTEM_INFO_ERROR_NONE);
  EXPECT_EQ(vendor, model.wifi_vendor);

  char* version = nullptr;
  ASSERT_EQ(system_info_get_value_string(SYSTEM_INFO_KEY_PRODUCT_SW_VERSION, &version),
            SYSTEM_INFO_ERROR_NONE);
  const std::unique_ptr<char, decltype(&std::free)> owned(version, std::free);
  EXPECT_FALSE(std::string(version).empty());
}

INSTANTIATE_TEST_SUITE_P(Models, SampleSystemInfo,
                         testing::Values(Model{"tv", 1, true, false, 0, false, 0, 1},
                                         Model{"projector", 0, true, false, 0, true, 2, 1},
                                         Model{"business", 1, false, true, 0, false, 0, 7}),
                         [](const testing::TestParamInfo<Model>& info) {
                           return std::string(info.param.file);
                         });
