#include "NotificationProgram.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "MainLoop.h"
#include "vconf.h"
#include "vconf_keys.h"

namespace fs = std::filesystem;

namespace {

std::vector<char*> Pointers(Strings& strings) {
  std::vector<char*> pointers;
  for (std::string& string : strings) {
    pointers.push_back(string.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Program::Program(Strings arguments, Strings environment, const char* path) {
  int ends[2];
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  m_output = ends[0];
  fcntl(m_output, F_SETFL, O_NONBLOCK);
  Start(std::move(arguments), std::move(environment), path, ends[1]);
  close(ends[1]);
}

Program::Program(Strings arguments, int output) {
  Start(std::move(arguments), {}, sandbox::kNotificationProgram, output);
}

Program::~Program() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  if (m_output >= 0) {
    close(m_output);
  }
}

const std::string& Program::Output() {
  char buffer[4096];
  for (ssize_t length; (length = read(m_output, buffer, sizeof buffer)) > 0;) {
    m_text.append(buffer, static_cast<std::size_t>(length));
  }
  return m_text;
}

bool Program::Shows(const std::string& text) {
  return Output().find(text) != std::string::npos;
}

std::size_t Program::Count(const std::string& text) {
  std::size_t count = 0;
  for (auto at = Output().find(text); at != std::string::npos; at = m_text.find(text, at + 1)) {
    ++count;
  }
  return count;
}

void Program::WaitFor(const std::string& text) {
  RunLoopUntil([&] { return Shows(text); });
  EXPECT_TRUE(Shows(text)) << "only: " << Output();
}

int Program::WaitForEnd() {
  int status = 0;
  bool ended = false;
  RunLoopUntil([&] { return ended = waitpid(m_pid, &status, WNOHANG) == m_pid; });
  m_lived = std::chrono::steady_clock::now() - m_started;
  if (!ended) {
    return -1;
  }
  m_pid = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Program::Start(Strings arguments, Strings environment, const char* path, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (output >= 0) {
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  } else {
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, STDERR_FILENO);
  }
  m_started = std::chrono::steady_clock::now();
  const int result = posix_spawn(&m_pid, path, &actions, nullptr, Pointers(arguments).data(),
                                 Pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(result, 0);
}

void WriteFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << content;
}

void Forward(const char* keyword) {
  ASSERT_EQ(vconf_set_str(vconf_keys::kPelorusCommand, keyword), VCONF_OK);
}

void Notification::SetUp() {
  fs::copy_file(NOTIFICATION_PROGRAM, sandbox::kNotificationProgram,
                fs::copy_options::overwrite_existing);
  fs::create_directories("/usr/apps/org.orvik.Pelorus/share/locale");
  fs::copy(NOTIFICATION_CATALOGUES, "/usr/apps/org.orvik.Pelorus/share/locale",
           fs::copy_options::recursive);
  fs::remove("/etc/default/locale");
  fs::remove("/etc/locale.conf");
}
