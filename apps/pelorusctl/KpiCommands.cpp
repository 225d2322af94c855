#include "KpiCommands.h"

#include <cerrno>
#include <cstdio>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include <glib.h>

#include "ExitCodes.h"
#include "JournalReader.h"
#include "KpiJournal.h"
#include "KpiRecord.h"
#include "LiveOutput.h"
#include "Message.h"
#include "Setting.h"

namespace {

constexpr std::uint64_t kLastOfFollow = 10;
constexpr unsigned kLookMilliseconds = 200;

struct KpiOptions {
  std::string journal;  ///< empty for the daemon's
  std::string event;    ///< empty for all
  std::optional<std::uint64_t> last;
  std::uint64_t count = 0;
  bool json = false;

  [[nodiscard]] std::string Path() const { return journal.empty() ? kpi_journal::Path() : journal; }
};

/// What the reader of a journal makes of its lines: the printed form of the records that were asked for,
/// and a complaint about each line that is none.
class Gathering {
 public:
  Gathering(const KpiOptions& options, std::function<void(std::string)> take)
      : m_options(options), m_path(options.Path()), m_take(std::move(take)), m_reader(m_path) {}

  /// @return as JournalReader::Read()
  int Read() {
    return m_reader.Read([this](std::uint64_t number, const std::string& line) { Take(number, line); },
                         [this](std::uint64_t number, const std::string& why) { Report(number, why); });
  }

  void ReportRest() {
    m_reader.ReportRest([this](std::uint64_t number, const std::string& why) { Report(number, why); });
  }

 private:
  void Take(std::uint64_t number, const std::string& line) {
    KpiRecord record;
    std::string fault;
    if (!ParseRecord(line, record, fault)) {
      Report(number, fault);
    } else if (m_options.event.empty() || IsOfEvent(record, m_options.event)) {
      m_take(m_options.json ? ToLine(ToJson(record)) : ReadableLine(record));
    }
  }

  void Report(std::uint64_t number, const std::string& fault) {
    Complain("line " + std::to_string(number) + " of " + m_path + " is damaged: " + fault);
  }

  const KpiOptions& m_options;  // lives on the heap until the command line is parsed
  std::string m_path;
  std::function<void(std::string)> m_take;
  JournalReader m_reader;
};

/// @return the code to end with when the journal cannot be read, after saying why
int ComplainOfJournal(const std::string& path, int error) {
  if (error == ENOENT) {
    Complain("there is no KPI journal " + path + ": nothing was recorded yet");
    return exit_codes::kUnreachable;
  }
  Complain("cannot read " + path + ": " + g_strerror(error));
  return exit_codes::kFailed;
}

/// The last so many of the lines that come.
class Last {
 public:
  explicit Last(std::optional<std::uint64_t> count) : m_count(count) {}

  void Take(std::string line) {
    m_lines.push_back(std::move(line));
    if (m_count && m_lines.size() > *m_count) {
      m_lines.pop_front();
    }
  }

  [[nodiscard]] const std::deque<std::string>& Lines() const { return m_lines; }

 private:
  std::optional<std::uint64_t> m_count;
  std::deque<std::string> m_lines;
};

int List(const KpiOptions& options) {
  Last last(options.last);
  Gathering gathering(options, [&last](std::string line) { last.Take(std::move(line)); });
  if (const int error = gathering.Read(); error != 0) {
    return ComplainOfJournal(options.Path(), error);
  }
  gathering.ReportRest();
  for (const std::string& line : last.Lines()) {
    std::puts(line.c_str());
  }
  if (last.Lines().empty() && options.last != 0) {
    Complain(options.Path() + " holds no record" +
             (options.event.empty() ? "" : " of '" + options.event + "'"));
    return exit_codes::kFailed;
  }
  return exit_codes::kDone;
}

/// One run of the command; lives on the stack while its loop runs.
class Following {
 public:
  explicit Following(const KpiOptions& options)
      : m_path(options.Path()),
        m_output(options.count),
        m_last(options.last.value_or(kLastOfFollow)),
        m_gathering(options, [this](std::string line) { Take(std::move(line)); }) {}

  int Run() {
    const int error = m_gathering.Read();
    if (error != 0 && error != ENOENT) {
      return ComplainOfJournal(m_path, error);
    }
    if (error == ENOENT) {
      Complain("waiting for " + m_path);
    }
    m_error = error;
    for (const std::string& line : m_last.Lines()) {
      m_output.Print(line);
    }
    m_is_live = true;
    // Looking again and again finds a journal that is made, renamed, cut or on a disk that is mounted
    // later, all in one way.
    const guint timer = g_timeout_add(kLookMilliseconds, OnTimer, this);
    m_output.Run();
    g_source_remove(timer);
    return exit_codes::kDone;
  }

 private:
  static gboolean OnTimer(gpointer self) {
    static_cast<Following*>(self)->Look();
    return G_SOURCE_CONTINUE;
  }

  void Look() {
    const int error = m_gathering.Read();
    if (error != m_error && error != 0 && error != ENOENT) {
      ComplainOfJournal(m_path, error);
    }
    m_error = error;
  }

  void Take(std::string line) { m_is_live ? m_output.Print(line) : m_last.Take(std::move(line)); }

  std::string m_path;
  LiveOutput m_output;
  Last m_last;
  Gathering m_gathering;
  int m_error = 0;
  bool m_is_live = false;
};

CLI::App* AddCommand(CLI::App& kpi, const char* name, const char* help, KpiOptions& options,
                     const char* last_help) {
  CLI::App* command = kpi.add_subcommand(name, help);
  command->add_option("--event", options.event, "Only this event: its code, EV005, or its name")
      ->type_name("EVENT");
  command->add_option("--last", options.last, last_help)
      ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1} << 53))
      ->type_name("N");
  command->add_option("--journal", options.journal, "File to read, in place of the daemon's journal")
      ->type_name("FILE");
  return command;
}

}  // namespace

void AddKpiCommands(CLI::App& app, int& exit_code) {
  CLI::App* kpi = app.add_subcommand("kpi", "Show the measurement records of the KPI journal");
  kpi->require_subcommand(1);

  auto list_options = std::make_shared<KpiOptions>();
  CLI::App* list =
      AddCommand(*kpi, "list", "Print the records, oldest first", *list_options, "Only the newest N");
  list->add_flag("--json", list_options->json, "Print a JSON object a line, with the fields apart");
  list->callback([list_options, &exit_code] { exit_code = List(*list_options); });

  auto follow_options = std::make_shared<KpiOptions>();
  CLI::App* follow = AddCommand(*kpi, "follow", "Print the newest records, and then each new one",
                                *follow_options, "Begin with the newest N instead of 10");
  follow->add_option("--count", follow_options->count, "End after this many lines")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 53));
  follow->add_flag("--json", follow_options->json, "Print a JSON object a line, with the fields apart");
  follow->callback([follow_options, &exit_code] { exit_code = Following(*follow_options).Run(); });
}
