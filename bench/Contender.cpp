#include "Contender.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

std::int64_t NowNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000000000} + now.tv_nsec;
}

void Die(const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, text.c_str());
  std::exit(1);
}

void Require(bool done, const std::string& what) {
  if (!done) {
    Die(what + ": " + std::strerror(errno));
  }
}

void Run(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    Die("failed: " + command);
  }
}

bool IsInstalled(const std::string& program) {
  return std::system(("command -v " + program + " >/dev/null").c_str()) == 0;
}

void StartSystemBus(const std::string& peers) {
  Run("dbus-daemon --config-file=" + peers + "/system-bus.conf --fork --nopidfile 2>/run/bench/bus.log");
}

void StartJournal() {
  const int journal = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/run/systemd/journal/socket");
  Require(bind(journal, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          address.sun_path);
  std::thread([journal] {
    char message[8192];
    while (recv(journal, message, sizeof message, 0) >= 0) {
    }
  }).detach();
}

}  // namespace bench

using bench::Die;
using bench::NowNanoseconds;
using bench::Require;
using bench::Run;

namespace {

void Export(const std::vector<std::string>& variables) {
  for (const std::string& variable : variables) {
    putenv(strdup(variable.c_str()));
  }
}

}  // namespace

Contender::Contender(std::string name, std::vector<std::string> command,
                     std::vector<std::string> environment)
    : m_name(std::move(name)),
      m_wall("wall-" + m_name),
      m_command(std::move(command)),
      m_environment(std::move(environment)) {
  // The kernel holds back a link event by up to a second when an interface's index and its peer's are
  // the same, which two namespaces make likely: so the indices are chosen.
  static int wall_index = 100;
  Run("ip netns add " + m_name + " && ip -n " + m_name + " link set lo up && ip link add " + m_wall +
      " index " + std::to_string(++wall_index) + " type veth peer name cable0 index 10 netns " + m_name +
      " && ip -n " + m_name + " link set cable0 up");
  m_control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  Require(m_control >= 0, "socket");
  SetCable(true);
}

Contender::~Contender() {
  if (m_pid != 0) {
    Stop();
  }
  close(m_control);
}

std::int64_t Contender::Start(const std::vector<std::string>& more) {
  int time_pipe[2];
  Require(pipe2(time_pipe, O_CLOEXEC) == 0, "pipe");
  m_pid = fork();
  Require(m_pid >= 0, "fork");
  if (m_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int space = open(("/run/netns/" + m_name).c_str(), O_RDONLY | O_CLOEXEC);
    Require(space >= 0 && setns(space, CLONE_NEWNET) == 0, "network namespace of " + m_name);
    const int log =
        open(("/run/bench/" + m_name + ".log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    Require(log >= 0 && dup2(log, STDOUT_FILENO) >= 0 && dup2(log, STDERR_FILENO) >= 0, "log");
    std::vector<char*> arguments;
    for (std::string& argument : m_command) {
      arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    Export(m_environment);
    Export(more);
    const std::int64_t now = NowNanoseconds();
    Require(write(time_pipe[1], &now, sizeof now) == sizeof now, "write");
    execvp(arguments[0], arguments.data());
    Require(false, m_command[0]);
  }
  close(time_pipe[1]);
  std::int64_t begin = 0;
  Require(read(time_pipe[0], &begin, sizeof begin) == sizeof begin, "start of " + m_name);
  close(time_pipe[0]);
  return begin;
}

void Contender::Stop() {
  kill(m_pid, SIGTERM);
  for (int i = 0; i < 300 && waitpid(m_pid, nullptr, WNOHANG) == 0; ++i) {
    usleep(10000);
    if (i == 250) {
      kill(m_pid, SIGKILL);
    }
  }
  m_pid = 0;
}

std::int64_t Contender::SetCable(bool attached) const {
  ifreq request{};
  m_wall.copy(request.ifr_name, IFNAMSIZ - 1);
  Require(ioctl(m_control, SIOCGIFFLAGS, &request) == 0, m_wall);
  const int flags = attached ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP;
  request.ifr_flags = static_cast<short>(flags);
  const std::int64_t begin = NowNanoseconds();
  Require(ioctl(m_control, SIOCSIFFLAGS, &request) == 0, m_wall);
  return begin;
}
