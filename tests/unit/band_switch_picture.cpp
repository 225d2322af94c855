// Makes the picture of the move to 5 GHz in docs/flows/band-switch.md from the table that the tests
// walk.
//
//     band_switch_picture FILE          puts it into FILE, between its two marks
//     band_switch_picture --check FILE  exits 1 when FILE has another one

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "SwitchTable.h"

namespace {

using switch_table::Event;
using switch_table::Outcome;
using switch_table::Row;
using switch_table::SituationInfo;
using switch_table::Source;

constexpr std::string_view kBegin = "<!-- picture: made by band_switch_picture, not by hand -->\n";
constexpr std::string_view kEnd = "<!-- end of the picture -->\n";

std::string_view NameOf(OPERATIONSTATE state) {
  switch (state) {
    case STATE_IDLE:
      return "Idle";
    case STATE_INIT:
      return "Init";
    case STATE_CONNECTING:
      return "Connecting";
    case STATE_SHOWPOPUP:
      return "ShowPopup";
    case STATE_ROLLBACK:
      return "RollBack";
    case STATE_ERROR:
      return "Error";
    case STATE_COMPLETE:
      return "Complete";
  }
  return "?";
}

std::string_view NameOf(Source source) {
  switch (source) {
    case Source::kApplication:
      return "settings application";
    case Source::kPlayer:
      return "player";
    case Source::kLibrary:
      return "network-setup library";
    case Source::kTime:
      return "time";
    case Source::kDaemon:
      return "daemon";
  }
  return "?";
}

struct Edge {
  OPERATIONSTATE from;
  OPERATIONSTATE to;
  std::vector<std::string> reasons;
};

void Add(std::vector<Edge>& edges, OPERATIONSTATE from, OPERATIONSTATE to, const std::string& why) {
  auto edge = std::ranges::find_if(edges, [&](const Edge& e) { return e.from == from && e.to == to; });
  if (edge == edges.end()) {
    edge = edges.insert(edges.end(), Edge{from, to, {}});
  }
  if (std::ranges::find(edge->reasons, why) == edge->reasons.end()) {
    edge->reasons.push_back(why);
  }
}

std::vector<Edge> Edges() {
  std::vector<Edge> edges;
  for (const SituationInfo& situation : switch_table::kSituations) {
    for (const Row& row : switch_table::kRows) {
      if (row.event == Event::kDaemonStops) {
        continue;  // from everywhere, which would hide the rest
      }
      const Outcome& outcome = *row.outcomes[static_cast<std::size_t>(situation.id)];
      OPERATIONSTATE from = situation.object;
      for (std::size_t i = 0; i < outcome.step_count; ++i) {
        const auto& [state, why] = outcome.steps[i];
        const bool is_unlocked =
            from == situation.object && situation.number != situation.object && state == STATE_INIT;
        Add(edges, from, state,
            std::string(why) + (is_unlocked && from != STATE_INIT ? " after STOP" : ""));
        from = state;
      }
    }
  }
  return edges;
}

std::string Picture() {
  std::ostringstream out;
  out << "```mermaid\nstateDiagram-v2\n    [*] --> Idle\n";
  for (const Edge& edge : Edges()) {
    out << "    " << NameOf(edge.from) << " --> " << NameOf(edge.to) << ": ";
    for (std::size_t i = 0; i < edge.reasons.size(); ++i) {
      out << (i == 0 ? "" : " / ") << edge.reasons[i];
    }
    out << '\n';
  }
  out << "```\n\n| Situation | Which is |\n|---|---|\n";
  for (const SituationInfo& situation : switch_table::kSituations) {
    out << "| " << situation.name << " | " << situation.meaning << " |\n";
  }
  out << "\n| From | What happens |";
  for (const SituationInfo& situation : switch_table::kSituations) {
    out << ' ' << situation.name << " |";
  }
  out << "\n|---|---|";
  for (std::size_t i = 0; i < switch_table::kSituationCount; ++i) {
    out << "---|";
  }
  out << '\n';
  for (const Row& row : switch_table::kRows) {
    out << "| " << NameOf(row.source) << " | " << row.text << " |";
    for (const Outcome* outcome : row.outcomes) {
      out << ' ' << outcome->name << " |";
    }
    out << '\n';
  }
  return out.str();
}

std::optional<std::string> Read(const char* path) {
  std::ifstream file(path);
  if (!file) {
    return std::nullopt;
  }
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The document with the picture of now; nullopt when it has not both marks.
std::optional<std::string> WithPicture(const std::string& document) {
  const std::size_t begin = document.find(kBegin);
  const std::size_t end = document.find(kEnd, begin);
  if (begin == std::string::npos || end == std::string::npos) {
    return std::nullopt;
  }
  return document.substr(0, begin + kBegin.size()) + Picture() + document.substr(end);
}

}  // namespace

int main(int argc, char** argv) {
  const bool is_check = argc == 3 && std::string_view(argv[1]) == "--check";
  if (argc != 2 && !is_check) {
    std::fprintf(stderr, "usage: band_switch_picture [--check] FILE\n");
    return 2;
  }
  const char* path = argv[argc - 1];
  const std::optional<std::string> document = Read(path);
  const std::optional<std::string> wanted = document ? WithPicture(*document) : std::nullopt;
  if (!wanted) {
    std::fprintf(stderr, "%s: no such file, or without the two marks of the picture\n", path);
    return 2;
  }
  if (is_check) {
    if (*wanted != *document) {
      std::fprintf(stderr, "%s: the picture is not that of tests/unit/SwitchTable.h\n", path);
      return 1;
    }
    return 0;
  }
  std::ofstream file(path);
  file << *wanted;
  return file.flush() ? 0 : 2;
}
