#include "KpiJournal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <glib.h>
#include <json/value.h>
#include <json/writer.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "CallGate.h"
#include "FileDescriptor.h"
#include "PlatformLog.h"
#include "kpi_logger.h"

namespace kpi_journal {
namespace {

constexpr char kDefaultPath[] = "/var/lib/pelorus/kpi/journal.jsonl";

// Records tell about the users' networks: they are for the daemon and for those who carry them on.
constexpr mode_t kFileMode = 0640;
constexpr mode_t kDirectoryMode = 0750;
constexpr mode_t kParentMode = 0755;  // other services keep files beside the journal's directory

constexpr int kLockTries = 250;
constexpr useconds_t kLockPauseMicroseconds = 2'000;
constexpr int kOpenTries = 10;

std::string Quoted(const std::string& text) {
  static const Json::StreamWriterBuilder kWriter = [] {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return writer;
  }();
  g_autofree char* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  return Json::writeString(kWriter, Json::Value(valid));
}

std::string Iso8601(long long microseconds) {
  constexpr long long kPerSecond = 1'000'000;
  g_autoptr(GDateTime) time = g_date_time_new_from_unix_local(microseconds / kPerSecond);
  g_autofree char* seconds = g_date_time_format(time, "%Y-%m-%dT%H:%M:%S");
  g_autofree char* zone = g_date_time_format(time, "%:z");
  g_autofree char* text =
      g_strdup_printf("%s.%03d%s", seconds, static_cast<int>(microseconds % kPerSecond / 1'000), zone);
  return text;
}

int MakeDirectory(const std::string& path) {
  g_autofree char* directory = g_path_get_dirname(path.c_str());
  g_autofree char* parent = g_path_get_dirname(directory);
  if (g_mkdir_with_parents(parent, kParentMode) != 0) {
    return errno;
  }
  return mkdir(directory, kDirectoryMode) == 0 || errno == EEXIST ? 0 : errno;
}

/// The name of a new file is on the disk only when its directory is.
int SyncDirectoryOf(const std::string& path) {
  g_autofree char* name = g_path_get_dirname(path.c_str());
  const FileDescriptor directory(open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return directory.get() >= 0 && fsync(directory.get()) == 0 ? 0 : errno;
}

/// For reading too, because the end of the last line is looked at; so a pipe somebody put there cannot
/// stop the main loop either.
int Open(const std::string& path) {
  return open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, kFileMode);
}

/// A writer holds the lock as long as the disk needs for a line. Anyone else who can read the file could
/// hold it for ever, so there is an end to the waiting.
int Lock(int fd) {
  for (int tries = 0; flock(fd, LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return errno;
    }
    if (tries == kLockTries) {
      return EBUSY;
    }
    usleep(kLockPauseMicroseconds);
  }
  return 0;
}

/// Whether `fd` still is the file of that name: between open and lock it may have been rotated away.
bool IsFileAt(const struct stat& opened, const std::string& path) {
  struct stat named;
  return stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
         opened.st_dev == named.st_dev;
}

/// A power cut or a crash can leave the head of a line at the end; a new line must not go on with it.
bool EndsInsideALine(int fd, off_t size) {
  char last = '\n';
  return size > 0 && pread(fd, &last, 1, size - 1) == 1 && last != '\n';
}

int WriteWhole(int fd, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t length = write(fd, text.data() + done, text.size() - done);
    if (length < 0 && errno != EINTR) {
      return errno;
    }
    done += length < 0 ? 0 : static_cast<std::size_t>(length);
  }
  return 0;
}

int Flush(int fd) {
  while (fdatasync(fd) != 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int AppendLocked(int fd, off_t size, const std::string& path, const std::string& line) {
  int error = WriteWhole(fd, EndsInsideALine(fd, size) ? "\n" + line : line);
  error = error != 0 ? error : Flush(fd);
  error = error != 0 || size != 0 ? error : SyncDirectoryOf(path);
  if (error != 0 && ftruncate(fd, size) != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot take back what was written to %s: %s", path.c_str(),
                 g_strerror(errno));
  }
  return error;
}

}  // namespace

std::string Path() {
  const char* path = std::getenv(kPathVariable);
  return path != nullptr && *path != '\0' ? path : kDefaultPath;
}

std::string Line(const Record& record, long long microseconds) {
  // Put together here, because the JSON library sorts members by name, and a line that begins with its
  // time is one that a person can follow and sort(1) can merge.
  return "{\"time\":" + Quoted(Iso8601(microseconds)) + ",\"service\":" + Quoted(record.service) +
         ",\"event\":" + Quoted(record.event) + ",\"code\":" + Quoted(record.code) +
         ",\"description\":" + Quoted(record.description) + "}\n";
}

int Append(const std::string& path, const std::string& line) {
  for (int tries = 0; tries < kOpenTries; ++tries) {
    int opened = Open(path);
    if (opened < 0 && errno == ENOENT) {
      if (const int error = MakeDirectory(path); error != 0) {
        return error;
      }
      opened = Open(path);
    }
    const FileDescriptor file(opened);
    if (file.get() < 0) {
      if (errno == EINTR) {
        continue;
      }
      return errno;
    }
    if (const int error = Lock(file.get()); error != 0) {
      return error;
    }
    struct stat status;
    if (fstat(file.get(), &status) != 0) {
      return errno;
    }
    if (!S_ISREG(status.st_mode)) {
      return EINVAL;
    }
    if (IsFileAt(status, path)) {
      return AppendLocked(file.get(), status.st_size, path, line);
    }
  }
  return EBUSY;
}

}  // namespace kpi_journal

namespace Ledgerline {

CLogger* CLogger::GetInstance() {
  static CLogger* const instance = new CLogger;
  return instance;
}

int CLogger::AddEventLogSync(std::string serviceName, std::string eventName, std::string category,
                             std::string description) {
  if (const auto refusal =
          call_gate::Refusal("AddEventLogSync", serviceName, eventName, category, description)) {
    return *refusal;
  }
  const std::string path = kpi_journal::Path();
  const int error = kpi_journal::Append(
      path, kpi_journal::Line({serviceName, eventName, category, description}, g_get_real_time()));
  if (error != 0) {
    PLATFORM_LOG(DLOG_ERROR, "cannot append to %s: %s", path.c_str(), g_strerror(error));
    return -error;
  }
  return kSuccess;
}

}  // namespace Ledgerline
