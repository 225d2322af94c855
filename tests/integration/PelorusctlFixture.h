#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

/// The program pelorusctl, started as somebody at a shell starts it, with a store of its own.
inline constexpr char kStore[] = "/run/store";
inline constexpr char kStringKey[] = "db/menu/network/network_type";
inline constexpr char kIntKey[] = "db/menu/network/networkapp_status";
inline constexpr char kBoolKey[] = "memory/telephony/telephony_ready";

struct Result {
  int code = -1;
  std::string out;
  std::string err;
};

using Arguments = std::vector<std::string>;

inline std::vector<const char*> CommandLine(const Arguments& arguments) {
  std::vector<const char*> line{PELORUSCTL};
  for (const std::string& argument : arguments) {
    line.push_back(argument.c_str());
  }
  line.push_back(nullptr);
  return line;
}

/// Runs the program to its end.
inline Result Ctl(const Arguments& arguments) {
  auto line = CommandLine(arguments);
  g_autofree char* out = nullptr;
  g_autofree char* err = nullptr;
  int status = 0;
  g_autoptr(GError) error = nullptr;
  if (!g_spawn_sync(nullptr, const_cast<char**>(line.data()), nullptr, G_SPAWN_DEFAULT, nullptr, nullptr,
                    &out, &err, &status, &error)) {
    ADD_FAILURE() << error->message;
    return {};
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out, err};
}

inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline void WriteFile(const std::string& path, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << content;
}

inline std::string FileOf(const std::string& key) {
  return std::string(kStore) + "/" + key;
}

inline std::string ContentOf(const std::string& path) {
  std::stringstream content;
  content << std::ifstream(path).rdbuf();
  return content.str();
}

class Pelorusctl : public testing::Test {
 protected:
  Pelorusctl() {
    std::filesystem::create_directories(kStore);
    setenv("PELORUS_SETTINGS_DIR", kStore, 1);
  }
};
