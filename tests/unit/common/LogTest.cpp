#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "Files.h"
#include "TestLog.h"
#include "dlog.h"

#define LOG(buffer, format, ...)                                                                    \
  __dlog_print(buffer, DLOG_INFO, "PELORUS_LOG", DLOG_PLACE_FORMAT format, __FILE_NAME__, __func__, \
               __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// Every allocation of this program is counted, to see that the log makes none.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, std::size_t),
                                                         void (*)(const volatile void*));
#endif

namespace {

thread_local int g_allocations = 0;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const int g_hooked = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++g_allocations; }, [](const volatile void*) {});
#else
}  // namespace
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
  ++g_allocations;
  return __libc_malloc(size);
}
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* calloc(std::size_t count, std::size_t size) {
  ++g_allocations;
  return __libc_calloc(count, size);
}
extern "C" void* __libc_realloc(void* block, std::size_t size);
extern "C" void* realloc(void* block, std::size_t size) {
  ++g_allocations;
  return __libc_realloc(block, size);
}
namespace {
#endif

constexpr char kJournal[] = "/run/systemd/journal/socket";
constexpr char kLogFile[] = "/run/test.log";

/// Stands at the journal's place.
class Journal {
 public:
  using Record = std::map<std::string, std::string>;

  Journal() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{AF_UNIX, ""};
    std::strcpy(address.sun_path, kJournal);
    EXPECT_EQ(bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~Journal() {
    close(m_socket);
    unlink(kJournal);
  }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// Until there is a record, but not for long.
  void Wait() {
    pollfd readable{m_socket, POLLIN, 0};
    poll(&readable, 1, 10);
  }

  /// The next record, read by the rules of the journal's native protocol.
  std::optional<Record> Take() {
    std::string datagram(64 * 1024, '\0');
    const ssize_t length = recv(m_socket, datagram.data(), datagram.size(), 0);
    if (length < 0) {
      return std::nullopt;
    }
    datagram.resize(static_cast<std::size_t>(length));
    Record record;
    for (std::size_t at = 0; at < datagram.size();) {
      const std::size_t end = datagram.find('\n', at);
      EXPECT_NE(end, std::string::npos) << "a field without its end";
      const std::string line = datagram.substr(at, end - at);
      at = end + 1;
      if (const std::size_t equals = line.find('='); equals != std::string::npos) {
        EXPECT_TRUE(record.emplace(line.substr(0, equals), line.substr(equals + 1)).second) << line;
        continue;
      }
      std::uint64_t size = 0;
      for (int i = 7; i >= 0; --i) {
        size = size << 8 | static_cast<unsigned char>(datagram.at(at + static_cast<std::size_t>(i)));
      }
      at += 8;
      EXPECT_TRUE(record.emplace(line, datagram.substr(at, size)).second) << line;
      at += size;
      EXPECT_EQ(datagram.at(at), '\n');
      ++at;
    }
    return record;
  }

 private:
  int m_socket;
};

std::vector<std::string> RawLines() {
  std::vector<std::string> lines;
  const std::string content = files::Read(kLogFile);
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t end = content.find('\n', at);
    EXPECT_NE(end, std::string::npos) << "the last line has no end";
    lines.push_back(content.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

}  // namespace

TEST(Log, ALineHasPriorityTagPlaceAndMessage) {
  const int line = __LINE__ + 1;
  LOG(LOG_ID_MAIN, "START %d", 5);
  LOG(LOG_ID_SYSTEM, "db/was/factory_reset Read Failed");
  const std::string place = "LogTest.cpp: TestBody(";
  EXPECT_EQ(RawLines(),
            (std::vector<std::string>{"I/PELORUS_LOG: " + place + std::to_string(line) + ") > START 5",
                                      "I/PELORUS_LOG(system): " + place + std::to_string(line + 1) +
                                          ") > db/was/factory_reset Read Failed"}));
}

TEST(Log, EveryPriorityHasItsLetter) {
  for (const int priority : {DLOG_DEBUG, DLOG_INFO, DLOG_WARN, DLOG_ERROR, DLOG_FATAL}) {
    __dlog_print(LOG_ID_MAIN, priority, "T", "x");
  }
  EXPECT_EQ(RawLines(), (std::vector<std::string>{"D/T: x", "I/T: x", "W/T: x", "E/T: x", "F/T: x"}));
}

TEST(Log, TheResultIsTheLengthOfTheWholeLine) {
  EXPECT_EQ(__dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", "abc"), 3);
  EXPECT_EQ(__dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", std::string(9000, 'x').c_str()), 9000);
  EXPECT_EQ(__dlog_print(LOG_ID_MAIN, DLOG_INFO, nullptr, "%s", ""), 0);
}

TEST(Log, ALineThatNoSinkTakesIsANegativeResult) {
  const int saved = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  errno = 77;
  const int result = __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "x");
  const int after = errno;
  dup2(saved, STDERR_FILENO);
  EXPECT_LT(result, 0);
  EXPECT_EQ(after, 77);
}

TEST(Log, ALongMessageIsCutAndStaysOneWholeLine) {
  const std::string text(10'000, 'x');
  LOG(LOG_ID_MAIN, "%s", text.c_str());
  LOG(LOG_ID_MAIN, "next");
  const auto lines = RawLines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].size() + 1, std::size_t{PIPE_BUF}) << "as much as a pipe takes in one piece";
  EXPECT_TRUE(lines[0].starts_with("I/PELORUS_LOG: LogTest.cpp: TestBody("));
  EXPECT_TRUE(lines[1].ends_with("next"));
}

TEST(Log, ACutNeverHalvesACharacter) {
  for (const std::string character : {"\xc3\xa9", "\xed\x95\x9c", "\U0001F4FA"}) {
    for (std::size_t shift = 0; shift < 4; ++shift) {
      test_log::Clear();
      std::string text(shift, '.');
      while (text.size() < 6'000) {
        text += character;
      }
      __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", text.c_str());
      const auto lines = RawLines();
      ASSERT_EQ(lines.size(), 1U);
      const std::size_t tail = (lines[0].size() - std::strlen("I/T: ") - shift) % character.size();
      EXPECT_EQ(tail, 0U) << character << " shifted by " << shift;
      EXPECT_GT(lines[0].size(), 4'000U);
    }
  }
}

TEST(Log, ATextFromOutsideCannotMakeALineOfItsOwn) {
  LOG(LOG_ID_MAIN, "ssid %s", "cafe\nF/PELORUS_LOG: forged\r\n");
  const auto lines = RawLines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].ends_with("ssid cafe F/PELORUS_LOG: forged  ")) << lines[0];
}

TEST(LogJournal, ARecordHasTheFieldsOfTheNativeProtocol) {
  Journal journal;
  const int line = __LINE__ + 1;
  LOG(LOG_ID_MAIN, "two\nlines");
  const std::string message = "LogTest.cpp: TestBody(" + std::to_string(line) + ") > two\nlines";
  EXPECT_EQ(journal.Take(), (Journal::Record{{"PRIORITY", "6"},
                                             {"SYSLOG_IDENTIFIER", "PELORUS_LOG"},
                                             {"PELORUS_BUFFER", "main"},
                                             {"CODE_FILE", "LogTest.cpp"},
                                             {"CODE_FUNC", "TestBody"},
                                             {"CODE_LINE", std::to_string(line)},
                                             {"MESSAGE", message}}));
  EXPECT_TRUE(RawLines().empty()) << "one sink only";
}

TEST(LogJournal, PriorityAndBufferAreTold) {
  Journal journal;
  const std::pair<int, const char*> priorities[] = {
      {DLOG_DEBUG, "7"}, {DLOG_INFO, "6"}, {DLOG_WARN, "4"}, {DLOG_ERROR, "3"}, {DLOG_FATAL, "2"}};
  for (const auto& [priority, number] : priorities) {
    __dlog_print(LOG_ID_SYSTEM, priority, "T", "x%d", 1);
    EXPECT_EQ(journal.Take(), (Journal::Record{{"PRIORITY", number},
                                               {"SYSLOG_IDENTIFIER", "T"},
                                               {"PELORUS_BUFFER", "system"},
                                               {"MESSAGE", "x1"}}));
  }
}

TEST(LogJournal, AnOverlongTagAndPlaceAreCut) {
  Journal journal;
  const std::string text(2'000, 'y');
  __dlog_print(LOG_ID_MAIN, DLOG_INFO, text.c_str(), DLOG_PLACE_FORMAT "%s", text.c_str(), text.c_str(),
               7, text.c_str());
  const auto record = journal.Take().value();
  EXPECT_EQ(record.at("SYSLOG_IDENTIFIER"), std::string(64, 'y'));
  EXPECT_EQ(record.at("CODE_FILE"), std::string(128, 'y'));
  EXPECT_EQ(record.at("CODE_FUNC"), std::string(256, 'y'));
  EXPECT_EQ(record.at("MESSAGE").size(), 4'095U);
}

TEST(LogJournal, AnEmptyAndALongMessageArrive) {
  Journal journal;
  __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", "");
  EXPECT_EQ(journal.Take().value().at("MESSAGE"), "");
  __dlog_print(LOG_ID_MAIN, DLOG_INFO, "T", "%s", std::string(50'000, 'y').c_str());
  EXPECT_EQ(journal.Take().value().at("MESSAGE"), std::string(4095, 'y'));
}

TEST(LogJournal, AnAbsentJournalLeavesStandardErrorAndARestartedOneIsTakenUpAgain) {
  LOG(LOG_ID_MAIN, "absent");
  EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{"absent"}));
  for (int round = 0; round < 3; ++round) {
    test_log::Clear();
    {
      Journal journal;
      LOG(LOG_ID_MAIN, "present");
      ASSERT_TRUE(journal.Take());
      EXPECT_TRUE(RawLines().empty());
    }
    LOG(LOG_ID_MAIN, "gone");
    EXPECT_EQ(test_log::Messages(), (std::vector<std::string>{"gone"}));
  }
}

TEST(LogJournal, ALineBetweenTwoJournalsGoesToTheNewOneAndNowhereElse) {
  auto journal = std::make_unique<Journal>();
  for (int round = 0; round < 3; ++round) {
    LOG(LOG_ID_MAIN, "to the one that is there");
    ASSERT_TRUE(journal->Take());
    journal.reset();  // nothing is logged until its successor stands there
    journal = std::make_unique<Journal>();
    LOG(LOG_ID_MAIN, "to its successor");
    const auto record = journal->Take();
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->at("MESSAGE").ends_with("> to its successor")) << record->at("MESSAGE");
    EXPECT_FALSE(journal->Take()) << "once, not twice";
  }
  EXPECT_TRUE(RawLines().empty());
}

TEST(LogJournal, AJournalThatDiedWithoutCleaningUpLeavesStandardError) {
  const int socket_left = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{AF_UNIX, ""};
  std::strcpy(address.sun_path, kJournal);
  ASSERT_EQ(bind(socket_left, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(socket_left);
  LOG(LOG_ID_MAIN, "refused");
  EXPECT_TRUE(test_log::Has("refused"));
}

TEST(LogJournal, AJournalThatDoesNotReadNeitherBlocksNorLosesALine) {
  Journal journal;
  constexpr int kLines = 5'000;
  for (int i = 0; i < kLines; ++i) {
    LOG(LOG_ID_MAIN, "%d", i);  // the test's time limit is what a blocked call runs into
  }
  std::vector<int> seen(kLines);
  int by_journal = 0;
  while (const auto record = journal.Take()) {
    ++by_journal;
    const std::string& message = record->at("MESSAGE");
    ++seen.at(std::stoul(message.substr(message.rfind(' '))));
  }
  for (const std::string& message : test_log::Messages()) {
    ++seen.at(std::stoul(message));
  }
  EXPECT_GT(by_journal, 0);
  EXPECT_LT(by_journal, kLines) << "the journal was never full";
  EXPECT_EQ(seen, std::vector<int>(kLines, 1)) << "each line went to one sink";
  LOG(LOG_ID_MAIN, "read again");
  EXPECT_TRUE(journal.Take()) << "and it is taken up again";
}

TEST(LogSignal, NoLineAllocatesMemory) {
  const std::string long_text(9'000, 'x');
  const char* volatile const nothing = nullptr;  // the compiler would warn of it
  const auto log_all = [&] {
    LOG(LOG_ID_MAIN, "%d %s %p %#lx %-20s", 5, "text", static_cast<const void*>(&long_text), 99L, "y");
    LOG(LOG_ID_SYSTEM, "%s", long_text.c_str());
    LOG(LOG_ID_MAIN, "%s", nothing);
    LOG(LOG_ID_MAIN, "%f is not known", 1.5);
  };
  const int before = g_allocations;
  log_all();
  EXPECT_EQ(g_allocations, before) << "to standard error, the first line of all too";
  Journal journal;
  const int before_journal = g_allocations;
  log_all();
  EXPECT_EQ(g_allocations, before_journal) << "to the journal";
  const int before_own = g_allocations;
  const std::string own(100 + long_text.size(), 'z');
  EXPECT_GT(g_allocations, before_own) << "the count counts nothing: " << own.size();
}

namespace {

std::atomic<int> g_handled{0};
std::atomic<int> g_errno_lost{0};
sem_t g_taken;

void LogFromHandler(int) {
  const int interrupted = errno;
  const int number = g_handled;
  errno = 4321;
  LOG(LOG_ID_MAIN, "handler %d of the storm", number);
  g_errno_lost += errno == 4321 ? 0 : 1;
  errno = interrupted;
  ++g_handled;
  sem_post(&g_taken);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStorm = 1'000;  // each signal costs a hundred times as much
#else
constexpr int kStorm = 30'000;
#endif

/// The main thread logs while another sends it signals as fast as it takes them.
/// @return how many lines the main thread logged
int LogInAStorm() {
  struct sigaction action {};
  action.sa_handler = LogFromHandler;  // without SA_RESTART, the harder case
  sigaction(SIGUSR1, &action, nullptr);
  g_handled = 0;
  g_errno_lost = 0;
  sem_init(&g_taken, 0, 0);
  const pthread_t main_thread = pthread_self();
  std::thread storm([main_thread] {
    for (int sent = 0; sent < kStorm; ++sent) {
      pthread_kill(main_thread, SIGUSR1);
      while (sem_wait(&g_taken) != 0) {  // because a pending signal swallows the next one
      }
    }
  });
  int logged = 0;
  for (; g_handled < kStorm; ++logged) {
    errno = 1234;
    LOG(LOG_ID_MAIN, "main %d in the storm", logged);
    g_errno_lost += errno == 1234 ? 0 : 1;
  }
  storm.join();
  return logged;
}

/// Whether the messages are exactly those of a storm, each once and whole.
void ExpectStorm(const std::vector<std::string>& messages, int logged) {
  std::vector<int> from_main(static_cast<std::size_t>(logged));
  std::vector<int> from_handler(kStorm);
  int damaged = 0;
  for (const std::string& message : messages) {
    int number = -1;
    int end = 0;
    if (std::sscanf(message.c_str(), "main %d in the storm%n", &number, &end) == 1 &&
        end == static_cast<int>(message.size())) {
      ++from_main.at(static_cast<std::size_t>(number));
    } else if (std::sscanf(message.c_str(), "handler %d of the storm%n", &number, &end) == 1 &&
               end == static_cast<int>(message.size())) {
      ++from_handler.at(static_cast<std::size_t>(number));
    } else {
      ++damaged;
    }
  }
  EXPECT_EQ(damaged, 0);
  EXPECT_EQ(from_main, std::vector<int>(static_cast<std::size_t>(logged), 1)) << "a line was lost";
  EXPECT_EQ(from_handler, std::vector<int>(kStorm, 1)) << "a handler's line was lost";
  EXPECT_EQ(g_handled, kStorm);
  EXPECT_EQ(g_errno_lost, 0) << "errno was not kept";
  EXPECT_GT(logged, kStorm / 100) << "the main thread hardly logged";
  testing::Test::RecordProperty("logged", logged);
}

}  // namespace

TEST(LogSignal, AStormOfSignalsLosesNoLineOfAFile) {
  const int logged = LogInAStorm();
  EXPECT_EQ(RawLines().size(), static_cast<std::size_t>(kStorm + logged));
  ExpectStorm(test_log::Messages(), logged);
}

TEST(LogSignal, AStormOfSignalsLosesNoLineOfAFullPipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  fcntl(ends[1], F_SETPIPE_SZ, 4096);  // full most of the time, so that writes wait and are interrupted
  const int saved = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);
  std::string content;
  std::thread reader([&] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    char chunk[512];
    for (ssize_t length; (length = read(ends[0], chunk, sizeof chunk)) > 0;) {
      content.append(chunk, static_cast<std::size_t>(length));
    }
  });
  const int logged = LogInAStorm();
  dup2(saved, STDERR_FILENO);
  reader.join();
  files::Write(kLogFile, content);
  ExpectStorm(test_log::Messages(), logged);
}

TEST(LogSignal, AStormOfSignalsLosesNoLineOfTheJournal) {
  Journal journal;
  std::atomic<bool> done{false};
  std::vector<std::string> messages;
  const auto take_all = [&] {
    while (const auto record = journal.Take()) {
      const std::string& message = record->at("MESSAGE");
      messages.push_back(message.substr(message.find(") > ") + 4));
    }
  };
  std::thread reader([&] {
    while (!done) {
      journal.Wait();
      take_all();
    }
    take_all();
  });
  const int logged = LogInAStorm();
  done = true;
  reader.join();
  for (const std::string& message : test_log::Messages()) {
    messages.push_back(message);  // while the journal was full
  }
  ExpectStorm(messages, logged);
}

TEST(LogSignal, ThreadsShareTheLogWithoutMixingLines) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < 2'000; ++i) {
        LOG(LOG_ID_MAIN, "%d/%s/%d", thread, std::string(200, static_cast<char>('a' + thread)).c_str(),
            i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const auto messages = test_log::Messages();
  EXPECT_EQ(messages.size(), 8'000U);
  for (const std::string& message : messages) {
    const int thread = message.at(0) - '0';
    const std::string head =
        std::to_string(thread) + "/" + std::string(200, static_cast<char>('a' + thread)) + "/";
    ASSERT_TRUE(message.starts_with(head) && message.size() <= head.size() + 4) << message;
  }
}
