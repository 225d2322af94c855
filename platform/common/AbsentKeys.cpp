#include "AbsentKeys.h"

#include <cerrno>
#include <cstddef>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace {

/// More than a program asks for again and again: each costs a descriptor.
constexpr std::size_t kMostKeys = 32;
/// The kernel's times are as coarse as its tick, and of two changes within one the second leaves the
/// time of the first. After so many seconds without a change the next one is sure to leave another.
constexpr std::time_t kRestSeconds = 2;

bool IsMissing(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

/// Only a tmpfs is worth it, and is known to set a directory's time before the name that it is for.
bool IsOnTmpfs(int directory) {
  struct statfs status;
  return fstatfs(directory, &status) == 0 && status.f_type == TMPFS_MAGIC;
}

bool HasRested(const timespec& changed) {
  timespec now;
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return now.tv_sec - changed.tv_sec >= kRestSeconds;
}

}  // namespace

std::optional<AbsentKeys::Voucher> AbsentKeys::VoucherFor(const std::string& path) {
  std::string missing = path;
  for (std::size_t slash = 0; (slash = missing.rfind('/')) != std::string::npos && slash != 0;) {
    std::string name = missing.substr(0, slash);
    auto directory =
        std::make_unique<FileDescriptor>(open(name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (directory->ok()) {
      // The name is looked for after the state was taken: one that came in between has changed it.
      const bool vouches = fstat(directory->get(), &status) == 0 && HasRested(status.st_ctim) &&
                           IsOnTmpfs(directory->get()) && IsMissing(missing);
      return vouches ? std::optional(Voucher{std::move(directory), status.st_ctim, status.st_size,
                                             status.st_nlink})
                     : std::nullopt;
    }
    missing = std::move(name);
  }
  return std::nullopt;
}

bool AbsentKeys::Has(std::string_view key) {
  const std::lock_guard lock(m_mutex);
  const auto known = m_vouchers.find(key);
  if (known == m_vouchers.end()) {
    return false;
  }
  const Voucher& voucher = known->second;
  struct stat now;
  if (fstat(voucher.directory->get(), &now) == 0 && now.st_ctim.tv_sec == voucher.changed.tv_sec &&
      now.st_ctim.tv_nsec == voucher.changed.tv_nsec && now.st_size == voucher.size &&
      now.st_nlink == voucher.links) {
    return true;
  }
  m_vouchers.erase(known);
  return false;
}

void AbsentKeys::Note(std::string_view key, const std::string& path) {
  auto voucher = VoucherFor(path);
  if (!voucher) {
    return;
  }
  const std::lock_guard lock(m_mutex);
  if (m_vouchers.size() >= kMostKeys) {
    m_vouchers.clear();
  }
  m_vouchers.insert_or_assign(std::string(key), *std::move(voucher));
}
