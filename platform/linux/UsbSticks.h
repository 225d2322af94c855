#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gio/gio.h>

/// The USB sticks among the objects of UDisks2: the removable drives on USB that have a file system, in
/// the order in which they were plugged in. What the service says is taken as it comes; what has another
/// type than it should is not there. Plain data, asks nobody.
class UsbSticks {
 public:
  struct FileSystem {
    std::string object;                     ///< the block device's path on the bus
    std::vector<std::string> mount_points;  ///< absolute, without a slash at the end
  };
  struct Stick {
    std::string drive;                     ///< path on the bus, the same when it is plugged in again
    std::uint64_t since = 0;               ///< microseconds; with the path, this one time of it
    std::string product;                   ///< empty when it gives none
    std::vector<FileSystem> file_systems;  ///< by partition, at least one
    bool IsSame(const Stick& other) const { return drive == other.drive && since == other.since; }
  };

  UsbSticks() = default;
  /// @param objects  a{oa{sa{sv}}}, as GetManagedObjects answers
  explicit UsbSticks(GVariant* objects);

  /// @param interfaces  a{sa{sv}}, that came to an object
  void Add(const char* object, GVariant* interfaces);
  /// @param interfaces  as, that an object lost
  void Remove(const char* object, GVariant* interfaces);

  [[nodiscard]] std::vector<Stick> All() const;

 private:
  struct Unref {
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
  };
  using Properties = std::unique_ptr<GVariant, Unref>;
  using Object = std::map<std::string, Properties>;  // by interface

  static GVariant* Find(const Object& object, const char* interface);

  std::map<std::string, Object> m_objects;
};

/// @return one of a list, or null
[[nodiscard]] const UsbSticks::Stick* FindStick(const std::vector<UsbSticks::Stick>& sticks,
                                                const UsbSticks::Stick& wanted);
