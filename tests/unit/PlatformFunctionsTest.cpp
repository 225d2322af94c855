#include "PlatformFunctions.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(PlatformFunctions, ListNamesEveryFunctionOfTheInterfacesThatAnswersSomething) {
  const std::regex declaration(R"((?:^|\n) *(?:int |(?:const )?char\* |TapiHandle\* )(\w+)\()");
  std::set<std::string> declared;
  for (const auto& entry : std::filesystem::directory_iterator(INTERFACES)) {
    if (!entry.is_regular_file()) {
      continue;  // the network-setup library, which is written on these interfaces
    }
    std::ifstream file(entry.path());
    const std::string text(std::istreambuf_iterator<char>(file), {});
    for (std::sregex_iterator match(text.begin(), text.end(), declaration), end; match != end; ++match) {
      declared.insert((*match)[1]);
    }
  }
  declared.erase("__dlog_print");  // may be called in a signal handler, so it passes no gate
  const std::set<std::string> listed(std::begin(kPlatformFunctions), std::end(kPlatformFunctions));
  EXPECT_GT(declared.size(), 15U);
  EXPECT_EQ(listed, declared);
}

}  // namespace
