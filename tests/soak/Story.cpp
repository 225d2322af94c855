#include "Story.h"

#include <cstdio>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "Household.h"

namespace soak {
namespace {

scenario::Scenario Parse(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> errors;
  scenario::Scenario scenario = scenario::Parse("soak", stream, errors);
  if (!errors.empty()) {
    throw std::logic_error(errors.front());
  }
  return scenario;
}

std::string LineOf(const Event& event) {
  return "at " + InMs(event.at) + " " + event.text + "\n";
}

std::string FurnishingText() {
  std::string text;
  for (const std::string& step : Furnishing()) {
    text += "initially " + step + "\n";
  }
  return text;
}

}  // namespace

scenario::Scenario ToScenario(const Events& events) {
  std::string text;
  for (const Event& event : events) {
    text += LineOf(event);
  }
  return events.empty() ? scenario::Scenario{} : Parse(text);
}

scenario::Scenario FurnishingScenario() {
  return Parse(FurnishingText());
}

void WriteScenario(std::ostream& out, const std::vector<std::string>& remarks, const Events& events) {
  for (const std::string& remark : remarks) {
    out << "# " << remark << "\n";
  }
  out << FurnishingText();
  for (const Event& event : events) {
    out << LineOf(event);
  }
}

bool ReadScenario(const std::string& path, scenario::Scenario& furnishing, Events& events) {
  std::ifstream file(path);
  std::vector<std::string> errors;
  const scenario::Scenario scenario = scenario::Parse(path, file, errors);
  for (const std::string& error : errors) {
    std::fprintf(stderr, "%s\n", error.c_str());
  }
  if (!errors.empty()) {
    return false;
  }
  std::ifstream again(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(again, line);) {
    lines.push_back(line);
  }
  for (const scenario::Step& step : scenario.steps) {
    if (step.is_initial) {
      furnishing.steps.push_back(step);
    } else if (!scenario::IsExpectation(step.kind)) {
      // "at TIME WORDS..."; the step's own text hides passphrases
      const std::string& line = lines[static_cast<std::size_t>(step.line) - 1];
      const std::size_t time = line.find_first_not_of(" \t", 2);
      const std::size_t words = line.find_first_not_of(" \t", line.find_first_of(" \t", time));
      events.push_back({step.at, line.substr(words)});
    }
  }
  return true;
}

}  // namespace soak
