#include "TvPlay.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <thread>
#include <vector>

#include "ExitCodes.h"
#include "Message.h"
#include "Scenario.h"
#include "ScenarioStep.h"
#include "TvClient.h"

namespace {

using Kind = scenario::Step::Kind;

/// What becomes of a step that is not played from here.
const char* NoteOn(const scenario::Step& step) {
  switch (step.kind) {
    case Kind::kClosePopup:
      return "  (skipped: it is yours to close)";
    case Kind::kRemovePopupProgram:
    case Kind::kCreateFile:
      return "  (skipped: only a test does this)";
    case Kind::kExpectPopup:
    case Kind::kExpectNoPopup:
      return "  (look at the screen)";
    case Kind::kExpectLog:
    case Kind::kExpectNoLog:
      return "  (look at the log)";
    case Kind::kExpectFile:
    case Kind::kExpectNoFile:
    case Kind::kExpectSoftapManager:
      return "  (not checked from here)";
    case Kind::kTv:
    case Kind::kSet:
    case Kind::kExpectKey:
    case Kind::kExpectNoKey:
    case Kind::kExpectCalls:
    case Kind::kExpectKpi:
    case Kind::kExpectNoKpi:
    case Kind::kExpectJson:
    case Kind::kExpectSaved:
    case Kind::kExpectTop:
    case Kind::kExpectWifi:
      break;
  }
  return "";
}

/// What the evening's author says of the step and those after it; before it is time for them.
void PrintRemarks(const scenario::Step& step) {
  if (!step.remarks.empty()) {
    std::printf("\n");
  }
  for (const std::string& remark : step.remarks) {
    std::printf("%s\n", remark.c_str());
  }
  std::fflush(stdout);
}

/// @return whether it was done, or was so
bool PlayStep(const scenario::Step& step, TvClient& tv, scenario::KpiRecords& records) {
  const scenario::Outcome outcome = scenario::Play(
      step, [&tv](const Json::Value& request) { return tv.Ask(request); }, records);
  const double seconds = std::chrono::duration<double>(step.at).count();
  const bool is_unmet = outcome.kind == scenario::Outcome::Kind::kUnmet;
  const std::string note = is_unmet                                            ? "  NO: " + outcome.why
                           : outcome.kind == scenario::Outcome::Kind::kNotOurs ? NoteOn(step)
                           : scenario::IsExpectation(step.kind)                ? "  (it is so)"
                                                                               : "";
  if (step.is_initial) {
    std::printf("  before  %s%s\n", step.text.c_str(), note.c_str());
  } else {
    std::printf("%7.1fs  %s%s\n", seconds, step.text.c_str(), note.c_str());
  }
  std::fflush(stdout);
  return !is_unmet;
}

}  // namespace

int PlayScenario(const std::string& file, double speed) {
  std::ifstream text(file);
  if (!text) {
    Complain("cannot read " + file + ": " + std::strerror(errno));
    return exit_codes::kFailed;
  }
  std::vector<std::string> errors;
  const scenario::Scenario evening = scenario::Parse(file, text, errors);
  for (const std::string& error : errors) {
    Complain(error);
  }
  if (!errors.empty()) {
    return exit_codes::kFailed;
  }
  TvClient tv;
  scenario::KpiRecords records;
  int unmet = 0;
  const auto start = std::chrono::steady_clock::now();
  for (const scenario::Step& step : evening.steps) {
    const auto at = std::chrono::duration_cast<std::chrono::nanoseconds>(step.at / speed);
    PrintRemarks(step);
    std::this_thread::sleep_until(start + at);
    unmet += PlayStep(step, tv, records) ? 0 : 1;
  }
  if (unmet > 0) {
    Complain(std::to_string(unmet) + (unmet == 1 ? " step" : " steps") + " of " + file +
             " did not go as written");
    return exit_codes::kFailed;
  }
  return exit_codes::kDone;
}
