#include "Program.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

Program::Program(std::vector<std::string> arguments, std::string log_file)
    : m_log_file(std::move(log_file)) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
    std::abort();
  }
  std::vector<char*> vector;
  for (std::string& argument : arguments) {
    vector.push_back(argument.data());
  }
  vector.push_back(nullptr);
  const int log = open(m_log_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  m_pid = fork();
  if (m_pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    execvp(vector[0], vector.data());
    std::perror(vector[0]);
    _exit(127);
  }
  close(log);
  close(input[0]);
  close(output[1]);
  m_input = input[1];
  m_output = output[0];
}

Program::~Program() {
  End(SIGKILL);
  close(m_input);
  close(m_output);
}

void Program::End(int signal) {
  if (m_pid > 0) {
    kill(m_pid, signal);
    waitpid(m_pid, nullptr, 0);
    m_pid = -1;
  }
}

std::string Program::Ask(const std::string& line) {
  const std::string question = line + "\n";
  if (write(m_input, question.data(), question.size()) != static_cast<ssize_t>(question.size())) {
    return "";
  }
  return ReadLine();
}

std::string Program::ReadLine() {
  std::string answer;
  for (char c = 0; read(m_output, &c, 1) == 1 && c != '\n';) {
    answer += c;
  }
  return answer;
}

bool Program::IsRunning() {
  return m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == 0;
}

std::string Program::Log() const {
  std::ifstream file(m_log_file);
  return {std::istreambuf_iterator<char>(file), {}};
}
