#include "Scenario.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <glib.h>

#include "ScenarioRequest.h"

namespace scenario {
namespace {

using Kind = Step::Kind;

class SyntaxError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Words as a shell would read them: quotes hold words together, '#' begins a comment.
Words Split(const std::string& line) {
  int count = 0;
  g_auto(GStrv) parsed = nullptr;
  g_autoptr(GError) error = nullptr;
  if (!g_shell_parse_argv(line.c_str(), &count, &parsed, &error)) {
    if (g_error_matches(error, G_SHELL_ERROR, G_SHELL_ERROR_EMPTY_STRING)) {
      return {};
    }
    throw SyntaxError(error->message);
  }
  return {parsed, parsed + count};
}

bool StartsWith(const Words& words, std::initializer_list<std::string_view> beginning) {
  return words.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), words.begin());
}

void ParseExpectation(const Words& words, Step& step) {
  const auto has = [&](std::initializer_list<std::string_view> beginning, std::size_t more) {
    return StartsWith(words, beginning) && words.size() == beginning.size() + more;
  };
  if (has({"expect", "popup"}, 1)) {
    step.kind = Kind::kExpectPopup;
  } else if (has({"expect", "no", "popup"}, 0)) {
    step.kind = Kind::kExpectNoPopup;
    return;
  } else if (has({"expect", "key"}, 2)) {
    step.kind = Kind::kExpectKey;
    step.subject = words[2];
  } else if (has({"expect", "no", "key"}, 1)) {
    step.kind = Kind::kExpectNoKey;
  } else if (has({"expect", "log"}, 1)) {
    step.kind = Kind::kExpectLog;
  } else if (has({"expect", "no", "log"}, 0)) {
    step.kind = Kind::kExpectNoLog;
    return;
  } else if (has({"expect", "no", "log"}, 1)) {
    step.kind = Kind::kExpectNoLog;
  } else if (has({"expect", "file"}, 1)) {
    step.kind = Kind::kExpectFile;
  } else if (has({"expect", "no", "file"}, 1)) {
    step.kind = Kind::kExpectNoFile;
  } else if (has({"expect", "softap-manager"}, 0)) {
    step.kind = Kind::kExpectSoftapManager;
    return;
  } else if (has({"expect", "calls"}, 2) && ParseNumber(words[3])) {
    step.kind = Kind::kExpectCalls;
    step.subject = words[2];
    step.count = *ParseNumber(words[3]);
    return;
  } else if (StartsWith(words, {"expect", "kpi"}) && words.size() >= 4) {
    step.kind = Kind::kExpectKpi;
    step.subject = words[2];
    step.fragments.assign(words.begin() + 3, words.end());
    return;
  } else if (has({"expect", "no", "kpi"}, 0)) {
    step.kind = Kind::kExpectNoKpi;
    return;
  } else if (has({"expect", "no", "kpi"}, 1)) {
    step.kind = Kind::kExpectNoKpi;
  } else if (has({"expect", "json"}, 2)) {
    step.kind = Kind::kExpectJson;
    step.subject = words[2];
    step.value = words[3];
    return;
  } else if (StartsWith(words, {"expect", "saved"})) {
    step.kind = Kind::kExpectSaved;
    step.fragments.assign(words.begin() + 2, words.end());
    return;
  } else if (StartsWith(words, {"expect", "top"})) {
    step.kind = Kind::kExpectTop;
    step.fragments.assign(words.begin() + 2, words.end());
    return;
  } else if (has({"expect", "wifi"}, 1)) {
    step.kind = Kind::kExpectWifi;
    step.subject = words[2] == "none" ? "" : words[2];
    return;
  } else {
    throw SyntaxError(
        "expected: expect [no] popup KEYWORD | key KEY VALUE | log TEXT | file PATH | kpi CODE TEXT... "
        "| calls FUNCTION NUMBER | wifi BSSID|none | json KEY DOCUMENT | saved ESSID... | top "
        "ESSID=STATUS... | softap-manager");
  }
  if (step.kind == Kind::kExpectKey) {
    step.value = words[3];
  } else {
    step.subject = words.back();
  }
}

void ParseSet(const Words& words, Step& step) {
  if (words.size() != 4) {
    throw SyntaxError("expected: set KEY int|bool|string|raw VALUE");
  }
  step.kind = Kind::kSet;
  step.subject = words[1];
  step.type = words[2];
  step.value = words[3];
  const bool is_fitting = step.type == "int"    ? ParseNumber(step.value).has_value()
                          : step.type == "bool" ? step.value == "true" || step.value == "false"
                                                : step.type == "string" || step.type == "raw";
  if (!is_fitting) {
    throw SyntaxError("\"" + step.value + "\" is no value of type " + step.type);
  }
}

/// Only where the daemon looks for files of other programs: a scenario is no way to write elsewhere.
constexpr std::string_view kSharedDirectory = "/home/owner/share/";

void ParseCommand(const Words& words, Step& step) {
  if (words.empty()) {
    throw SyntaxError("a time without a step");
  }
  if (words.front() == "expect") {
    ParseExpectation(words, step);
  } else if (words.front() == "set") {
    ParseSet(words, step);
  } else if (words == Words{"close", "popup"}) {
    step.kind = Kind::kClosePopup;
  } else if (words == Words{"remove", "popup", "program"}) {
    step.kind = Kind::kRemovePopupProgram;
  } else if (StartsWith(words, {"create", "file"}) && words.size() == 3) {
    step.kind = Kind::kCreateFile;
    step.subject = words[2];
    if (!step.subject.starts_with(kSharedDirectory) || step.subject.find("/..") != std::string::npos ||
        step.subject.ends_with("/")) {
      throw SyntaxError("files are created under " + std::string(kSharedDirectory) + " only");
    }
  } else if (IsTvCommand(words.front())) {
    std::string error;
    const auto request = RequestOf(words, error);
    if (!request) {
      throw SyntaxError(error);
    }
    step.kind = Kind::kTv;
    step.request = *request;
  } else {
    throw SyntaxError("unknown step \"" + words.front() + "\"");
  }
}

/// @return how many words say when
std::size_t ParseTime(const Words& words, const Scenario& scenario, Step& step) {
  const Step* last = scenario.steps.empty() ? nullptr : &scenario.steps.back();
  if (words.front() == "initially") {
    if (last != nullptr && !last->is_initial) {
      throw SyntaxError("what is so initially comes before the first \"at\"");
    }
    step.is_initial = true;
    return 1;
  }
  if (words.front() != "at" || words.size() < 2) {
    throw SyntaxError("a step begins with \"initially\" or \"at TIME\"");
  }
  const auto at = ParseDuration(words[1]);
  if (!at) {
    throw SyntaxError("not a time: \"" + words[1] + "\"; write 500ms, 1.5s, 2min or 3h");
  }
  if (last != nullptr && *at < last->at) {
    throw SyntaxError("this is earlier than the step before it");
  }
  step.at = *at;
  return 2;
}

/// A passphrase stands in the file, and nowhere else.
std::string Shown(const std::string& word) {
  constexpr std::string_view kSecret = "passphrase=";
  return word.starts_with(kSecret) ? std::string(kSecret) + "***" : word;
}

/// The line without its time and its comment, for people.
std::string TextOf(const Words& words, std::size_t begin) {
  std::string text;
  for (std::size_t i = begin; i < words.size(); ++i) {
    const std::string word = Shown(words[i]);
    const bool is_plain = !word.empty() && word.find_first_of(" \t#\"'") == std::string::npos;
    text += (i == begin ? "" : " ") + (is_plain ? word : "\"" + word + "\"");
  }
  return text;
}

/// @return the text of a line that is nothing but a comment
std::optional<std::string> RemarkOf(const std::string& line) {
  if (!line.starts_with('#')) {
    return std::nullopt;
  }
  const std::size_t begin = line.find_first_not_of("# ");
  return begin == std::string::npos ? "" : line.substr(begin);
}

/// @param remarks  those since the last step; a step takes them
void ParseLine(const std::string& line, int number, Scenario& scenario,
               std::vector<std::string>& remarks) {
  if (auto remark = RemarkOf(line)) {
    remarks.push_back(std::move(*remark));
    return;
  }
  const Words words = Split(line);
  if (words.empty()) {
    return;
  }
  Step step;
  step.line = number;
  step.remarks = std::exchange(remarks, {});
  const std::size_t time_words = ParseTime(words, scenario, step);
  step.text = TextOf(words, time_words);
  ParseCommand(Words(words.begin() + static_cast<std::ptrdiff_t>(time_words), words.end()), step);
  if (step.is_initial && (IsExpectation(step.kind) || step.kind == Kind::kClosePopup)) {
    throw SyntaxError("before the daemon's start nothing can be seen");
  }
  scenario.steps.push_back(std::move(step));
}

}  // namespace

bool IsExpectation(Step::Kind kind) {
  switch (kind) {
    case Kind::kTv:
    case Kind::kSet:
    case Kind::kClosePopup:
    case Kind::kRemovePopupProgram:
    case Kind::kCreateFile:
      return false;
    case Kind::kExpectPopup:
    case Kind::kExpectNoPopup:
    case Kind::kExpectKey:
    case Kind::kExpectNoKey:
    case Kind::kExpectLog:
    case Kind::kExpectNoLog:
    case Kind::kExpectFile:
    case Kind::kExpectNoFile:
    case Kind::kExpectSoftapManager:
    case Kind::kExpectCalls:
    case Kind::kExpectKpi:
    case Kind::kExpectNoKpi:
    case Kind::kExpectJson:
    case Kind::kExpectSaved:
    case Kind::kExpectTop:
    case Kind::kExpectWifi:
      return true;
  }
  return false;
}

Scenario Parse(const std::string& file, std::istream& text, std::vector<std::string>& errors) {
  Scenario scenario;
  scenario.file = file;
  std::string line;
  std::vector<std::string> remarks;
  for (int number = 1; std::getline(text, line); ++number) {
    try {
      ParseLine(line, number, scenario, remarks);
    } catch (const SyntaxError& error) {
      errors.push_back(file + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  if (scenario.steps.empty() && errors.empty()) {
    errors.push_back(file + ":1: nothing happens here");
  }
  return scenario;
}

std::string NameOf(const Scenario& scenario, const Step& step) {
  return scenario.file + ":" + std::to_string(step.line) + ": " + step.text;
}

}  // namespace scenario
