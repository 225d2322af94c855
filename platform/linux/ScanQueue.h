#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>

/// What a scan looks at.
struct ScanRequest {
  std::vector<int> frequencies;    ///< MHz; empty: all channels
  std::vector<std::string> names;  ///< the bytes of names to ask for, the most wanted first; an empty
                                   ///< one is answered by all; no names: nobody is asked
};

/// What can scan, one scan at a time. Others on the machine may scan with the same antenna.
class Scanner {
 public:
  enum class End {
    kDone,     ///< all that was asked for was looked at
    kAborted,  ///< somebody ended it early
    kBusy,     ///< it did not begin, because another scan runs
    kFailed,   ///< it did not begin and will not
  };
  virtual ~Scanner() = default;
  /// @param ended  called once unless Forget() is called, perhaps before this returns
  virtual void Begin(const ScanRequest& request, std::function<void(End)> ended) = 0;
  /// Ends whatever scan runs, also somebody else's. One of Begin() ends with kAborted then.
  virtual void Abort() = 0;
  /// Lets the scan of Begin() be: its end is not told any more.
  virtual void Forget() = 0;
};

/// The looks and scans that were asked for. There is one antenna: they run one after the other, looks
/// first, and a look ends the scan that runs, which begins anew when no look is left. Each is answered
/// once: when it is done, or failed, or has run for longer than a scan can, so that a driver which never
/// answers keeps nobody waiting. A look ends at once what somebody else scans, a scan after some
/// seconds. Main-loop thread only.
class ScanQueue {
 public:
  using Answer = std::function<void(bool is_done)>;
  /// @param begun_at  monotonic time in microseconds
  using Listener = std::function<void(const ScanRequest& request, gint64 begun_at)>;

  /// @param scanner     outlives this
  /// @param on_scanned  told of each that was done, before its answer
  ScanQueue(Scanner& scanner, Listener on_scanned)
      : m_scanner(scanner), m_on_scanned(std::move(on_scanned)) {}
  ~ScanQueue() { Clear(); }
  ScanQueue(const ScanQueue&) = delete;
  ScanQueue& operator=(const ScanQueue&) = delete;

  void Scan(ScanRequest request, Answer answer);
  void Look(ScanRequest request, Answer answer);
  /// The antenna joins somebody: until Release(), and for a few seconds at most, no scan begins. Looks
  /// do.
  void Hold();
  void Release();
  /// Ends all of them without an answer.
  void Clear();

 private:
  struct Job {
    ScanRequest request;
    Answer answer;
    bool is_look = false;
    int busy_count = 0;
    int abort_count = 0;
  };

  void InsertAfterLooks(Job job);
  [[nodiscard]] bool IsNextHeldBack() const;
  void Schedule();
  void BeginNext();
  void Try();
  void OnEnd(Scanner::End end);
  void OnBusy();
  void OnAborted();
  void TryIn(guint milliseconds);
  void OnLimit();
  void Finish(bool is_done);
  void StopTimers();

  Scanner& m_scanner;
  Listener m_on_scanned;
  std::deque<Job> m_jobs;
  std::optional<Job> m_job;  // the one whose turn it is
  bool m_is_scanning = false;
  bool m_is_interrupted = false;  // by a look
  gint64 m_begun_at = 0;
  unsigned m_round = 0;  // tells the end of this scan from a late one of an earlier
  guint m_next = 0;
  guint m_retry = 0;
  guint m_limit = 0;  // while one runs
  guint m_hold = 0;   // while scans are held back
};
