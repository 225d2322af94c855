#include "InternetVerdict.h"

#include <utility>

namespace {

constexpr int kMostDoubts = 2;

InternetVerdict::Report EndOf(std::optional<WayStep> failed) {
  return {!failed, failed.value_or(WayStep::kHttp)};
}

}  // namespace

std::vector<InternetVerdict::Report> InternetVerdict::Take(const WayFinding& finding) {
  if (!IsBelieved(finding)) {
    m_doubted = finding.failed;
    ++m_doubts;
    return {};
  }
  m_doubts = 0;
  const bool is_first = !std::exchange(m_is_known, true);
  const auto before = std::exchange(m_failed, finding.failed);
  const bool is_news = std::exchange(m_is_news, false);
  if (!is_news && !is_first && before == finding.failed) {
    return {};
  }
  std::vector<Report> reports;
  // The failed step lies behind the way now: nearer than where this one ends.
  if (!is_first && before && (!finding.failed || *before < *finding.failed)) {
    reports.push_back({true, *before});
  }
  if (reports.empty() || reports.back() != EndOf(finding.failed)) {
    reports.push_back(EndOf(finding.failed));
  }
  return reports;
}

bool InternetVerdict::IsBelieved(const WayFinding& finding) {
  const bool is_as_told = m_is_known && finding.failed == m_failed;
  return !finding.failed || finding.is_certain || is_as_told || m_doubts >= kMostDoubts ||
         (m_doubts > 0 && m_doubted == finding.failed);
}

std::optional<InternetVerdict::Report> InternetVerdict::Last() const {
  return m_is_known ? std::optional(EndOf(m_failed)) : std::nullopt;
}
