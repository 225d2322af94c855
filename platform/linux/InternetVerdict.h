#pragma once

#include <optional>
#include <vector>

/// The steps of the way to the internet, the nearest first.
enum class WayStep {
  kPhy,      ///< the link has a carrier
  kGateway,  ///< there is a router, and it is alive
  kDns,      ///< the name service knows the probe's server
  kHttp,     ///< that server answers, and not somebody in its place
};

/// What one look at the way found.
struct WayFinding {
  std::optional<WayStep> failed;  ///< the first step that does not work; nullopt when all do
  bool is_certain = true;         ///< not by chance, as a packet may be lost and a server be busy
  bool operator==(const WayFinding&) const = default;
};

/// Makes verdicts of findings, and reports of verdicts. That something works is believed at once, and so
/// is a failure that cannot be chance; another failure only when a second look finds the same one, or a
/// third one any. Does no I/O.
class InternetVerdict {
 public:
  struct Report {
    bool works;
    WayStep step;
    bool operator==(const Report&) const = default;
  };

  /// @return what there is to tell after it, in this order: that what failed before works again, and
  ///         where the way ends now; nothing while the finding is doubted, or when it is no news
  [[nodiscard]] std::vector<Report> Take(const WayFinding& finding);

  /// The way is another one now: what is found next is news also when it is the same as before.
  void Renew() { m_is_news = true; }

  /// Whether the last finding needs a second look.
  [[nodiscard]] bool IsDoubted() const { return m_doubts > 0; }

  /// Where the way ended as it was told last; nullopt before the first verdict.
  [[nodiscard]] std::optional<Report> Last() const;

 private:
  [[nodiscard]] bool IsBelieved(const WayFinding& finding);

  bool m_is_known = false;
  std::optional<WayStep> m_failed;  // as told last
  bool m_is_news = true;
  int m_doubts = 0;  // failures in a row that were not told
  std::optional<WayStep> m_doubted;
};
