#include "Popups.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <signal.h>

#include "MainLoop.h"
#include "Sandbox.h"

namespace popups {

namespace {

std::vector<Started> ReadRecord(const char* path) {
  std::vector<Started> all;
  std::ifstream record(path);
  for (std::string line; std::getline(record, line);) {
    std::istringstream fields(line);
    Started started{};
    std::string field;
    std::getline(fields, field, '\t');
    started.pid = std::stoi(field);
    std::getline(fields, field, '\t');
    started.environment_variables = std::stoi(field);
    std::getline(fields, field, '\t');
    started.arguments.resize(std::stoul(field));
    for (std::string& argument : started.arguments) {
      std::getline(fields, argument, '\t');
    }
    all.push_back(started);
  }
  return all;
}

}  // namespace

std::vector<Started> All() {
  return ReadRecord(sandbox::kPopupRecord);
}

std::vector<Started> SoftapManagers() {
  return ReadRecord(sandbox::kSoftapManagerRecord);
}

std::vector<std::string> Keywords() {
  std::vector<std::string> keywords;
  for (const Started& started : All()) {
    keywords.push_back(started.arguments.empty() ? "" : started.arguments.front());
  }
  return keywords;
}

void Close(pid_t pid) {
  kill(pid, SIGTERM);
  RunLoopUntil([pid] { return kill(pid, 0) != 0; });
}

void WaitForStarted(std::size_t count) {
  RunLoopUntil([count] { return All().size() >= count; });
}

}  // namespace popups
