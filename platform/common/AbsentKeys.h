#pragma once

#include <ctime>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "FileDescriptor.h"
#include "TextMap.h"

/// Settings that were looked for and have no file, each with the directory that vouches for it. A tmpfs
/// keeps no note of names that it does not have, so that looking for one again costs four times what a
/// look at a directory that is open does. Only absence is kept, never a value. A directory that is moved
/// or removed is noticed; one above it that is, or is mounted over, is not. Usable from any thread.
class AbsentKeys {
 public:
  /// @return true when the key certainly has no file still: its directory says so. Otherwise somebody
  ///         has to look.
  [[nodiscard]] bool Has(std::string_view key);

  /// Takes note of a key whose file was not found, if a directory can vouch for that from now on.
  /// @param path  of the key's file, absolute
  void Note(std::string_view key, const std::string& path);

 private:
  /// The deepest directory that exists on the way to the file, open, and what becomes another of it as
  /// soon as a name comes into it, before the name can be seen.
  struct Voucher {
    std::unique_ptr<FileDescriptor> directory;
    timespec changed;
    off_t size;
    nlink_t links;
  };
  [[nodiscard]] static std::optional<Voucher> VoucherFor(const std::string& path);

  std::mutex m_mutex;
  TextMap<Voucher> m_vouchers;
};
