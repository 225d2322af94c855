#include "ScanQueue.h"

#include <algorithm>
#include <utility>

#include "PlatformLog.h"

namespace {

/// A scan of all channels takes 13 s in Europe and 37 s in America while connected, and may have to wait
/// for another one before.
constexpr guint kScanLimitMs = 90'000;
constexpr guint kLookLimitMs = 4'000;
constexpr guint kChannelLimitMs = 500;
constexpr guint kHoldLimitMs = 5'000;

/// Others are left to end their scan for a while.
constexpr guint kPatientRetryMs = 500;
constexpr int kPatientTries = 10;
/// Then it is ended, which needs a moment. Who scans without a pause begins the next one a third of a
/// second later.
constexpr guint kRetryMs = 150;
constexpr int kLookTries = 12;
/// Some drivers end no scan, and take 37 s for it.
constexpr int kScanTries = kPatientTries + 260;
constexpr int kAborts = 3;

guint LimitOf(const ScanRequest& request) {
  return request.frequencies.empty()
             ? kScanLimitMs
             : kLookLimitMs + kChannelLimitMs * static_cast<guint>(request.frequencies.size());
}

}  // namespace

void ScanQueue::Scan(ScanRequest request, Answer answer) {
  m_jobs.push_back({.request = std::move(request), .answer = std::move(answer)});
  Schedule();
}

void ScanQueue::Look(ScanRequest request, Answer answer) {
  InsertAfterLooks({.request = std::move(request), .answer = std::move(answer), .is_look = true});
  if (m_job && !m_job->is_look) {
    if (m_is_scanning) {
      m_is_interrupted = true;
      m_scanner.Abort();
    } else {
      StopTimers();
      InsertAfterLooks(*std::exchange(m_job, std::nullopt));
    }
  }
  Schedule();
}

void ScanQueue::InsertAfterLooks(Job job) {
  const auto place = std::ranges::find_if(m_jobs, [](const Job& waiting) { return !waiting.is_look; });
  m_jobs.insert(place, std::move(job));
}

void ScanQueue::Hold() {
  const auto is_over = [](gpointer self) -> gboolean {
    static_cast<ScanQueue*>(self)->m_hold = 0;
    static_cast<ScanQueue*>(self)->Schedule();
    return G_SOURCE_REMOVE;
  };
  g_clear_handle_id(&m_hold, g_source_remove);
  m_hold = g_timeout_add(kHoldLimitMs, is_over, this);
}

void ScanQueue::Release() {
  g_clear_handle_id(&m_hold, g_source_remove);
  Schedule();
}

bool ScanQueue::IsNextHeldBack() const {
  return m_hold != 0 && !m_jobs.front().is_look;
}

void ScanQueue::Clear() {
  g_clear_handle_id(&m_hold, g_source_remove);
  StopTimers();
  g_clear_handle_id(&m_next, g_source_remove);
  ++m_round;
  if (std::exchange(m_is_scanning, false)) {
    m_scanner.Forget();
  }
  m_is_interrupted = false;
  m_job.reset();
  m_jobs.clear();
}

/// A scan begins from the main loop, so that one which fails at once is not answered inside the call.
void ScanQueue::Schedule() {
  if (m_job || m_jobs.empty() || m_next != 0 || IsNextHeldBack()) {
    return;
  }
  const auto begin = [](gpointer self) -> gboolean {
    static_cast<ScanQueue*>(self)->m_next = 0;
    static_cast<ScanQueue*>(self)->BeginNext();
    return G_SOURCE_REMOVE;
  };
  m_next = g_idle_add_full(G_PRIORITY_DEFAULT, begin, this, nullptr);
}

void ScanQueue::BeginNext() {
  if (IsNextHeldBack()) {
    return;
  }
  m_job = std::move(m_jobs.front());
  m_jobs.pop_front();
  Try();
}

void ScanQueue::Try() {
  const auto give_up = [](gpointer self) -> gboolean {
    static_cast<ScanQueue*>(self)->m_limit = 0;
    static_cast<ScanQueue*>(self)->OnLimit();
    return G_SOURCE_REMOVE;
  };
  m_limit = g_timeout_add(LimitOf(m_job->request), give_up, this);
  m_is_scanning = true;
  m_begun_at = g_get_monotonic_time();
  const ScanRequest request = m_job->request;
  m_scanner.Begin(request, [this, round = ++m_round](Scanner::End end) {
    if (round == m_round) {
      OnEnd(end);
    }
  });
}

void ScanQueue::OnEnd(Scanner::End end) {
  ++m_round;
  m_is_scanning = false;
  StopTimers();
  switch (end) {
    case Scanner::End::kDone:
      return Finish(true);
    case Scanner::End::kFailed:
      return Finish(false);
    case Scanner::End::kBusy:
      return OnBusy();
    case Scanner::End::kAborted:
      return OnAborted();
  }
}

void ScanQueue::OnBusy() {
  if (std::exchange(m_is_interrupted, false)) {
    return OnAborted();
  }
  ++m_job->busy_count;
  if (m_job->busy_count >= (m_job->is_look ? kLookTries : kScanTries)) {
    return Finish(false);
  }
  if (!m_job->is_look && m_job->busy_count < kPatientTries) {
    return TryIn(kPatientRetryMs);
  }
  m_scanner.Abort();
  TryIn(kRetryMs);
}

void ScanQueue::OnAborted() {
  const bool has_looks = !m_jobs.empty() && m_jobs.front().is_look;
  if (!m_job->is_look && has_looks) {
    m_is_interrupted = false;
    InsertAfterLooks(*std::exchange(m_job, std::nullopt));
    return Schedule();
  }
  if (++m_job->abort_count >= kAborts) {
    return Finish(false);
  }
  TryIn(m_job->is_look ? kRetryMs : kPatientRetryMs);
}

void ScanQueue::TryIn(guint milliseconds) {
  const auto again = [](gpointer self) -> gboolean {
    static_cast<ScanQueue*>(self)->m_retry = 0;
    static_cast<ScanQueue*>(self)->Try();
    return G_SOURCE_REMOVE;
  };
  m_retry = g_timeout_add(milliseconds, again, this);
}

void ScanQueue::OnLimit() {
  PLATFORM_LOG(DLOG_WARN, "a scan has no end, and is given up");
  ++m_round;
  m_is_scanning = false;
  m_scanner.Forget();
  m_scanner.Abort();
  Finish(false);
}

void ScanQueue::Finish(bool is_done) {
  StopTimers();
  m_is_interrupted = false;
  const Job job = *std::exchange(m_job, std::nullopt);
  Schedule();
  if (is_done) {
    m_on_scanned(job.request, m_begun_at);
  }
  job.answer(is_done);  // may ask for another, or clear this
}

void ScanQueue::StopTimers() {
  g_clear_handle_id(&m_retry, g_source_remove);
  g_clear_handle_id(&m_limit, g_source_remove);
}
