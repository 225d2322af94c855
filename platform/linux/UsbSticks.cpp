#include "UsbSticks.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr char kDrive[] = "org.freedesktop.UDisks2.Drive";
constexpr char kBlock[] = "org.freedesktop.UDisks2.Block";
constexpr char kFileSystem[] = "org.freedesktop.UDisks2.Filesystem";

bool IsTrue(GVariant* properties, const char* name) {
  gboolean value = FALSE;
  return g_variant_lookup(properties, name, "b", &value) && value != FALSE;
}

/// @param type  of one string: "s" or "o"
std::string Text(GVariant* properties, const char* name, const char* type = "s") {
  g_autofree char* value = nullptr;
  return g_variant_lookup(properties, name, type, &value) ? g_strstrip(value) : "";
}

std::string Product(GVariant* drive) {
  const std::string model = Text(drive, "Model");
  return model.empty() ? Text(drive, "Vendor") : model;
}

bool IsUsbDrive(GVariant* drive) {
  return Text(drive, "ConnectionBus") == "usb" && IsTrue(drive, "Removable");
}

std::vector<std::string> MountPoints(GVariant* file_system) {
  std::vector<std::string> paths;
  g_autoptr(GVariantIter) points = nullptr;
  if (!g_variant_lookup(file_system, "MountPoints", "aay", &points)) {
    return paths;
  }
  while (g_autoptr(GVariant) point = g_variant_iter_next_value(points)) {
    std::string path = g_variant_get_bytestring(point);
    path.erase(path.find_last_not_of('/') + 1);
    if (path.starts_with('/')) {  // and is not the root of the system, which nobody takes for a stick
      paths.push_back(std::move(path));
    }
  }
  return paths;
}

}  // namespace

UsbSticks::UsbSticks(GVariant* objects) {
  GVariantIter iterator;
  g_variant_iter_init(&iterator, objects);
  const char* object = nullptr;
  GVariant* interfaces = nullptr;
  while (g_variant_iter_loop(&iterator, "{&o@a{sa{sv}}}", &object, &interfaces)) {
    Add(object, interfaces);
  }
}

void UsbSticks::Add(const char* object, GVariant* interfaces) {
  GVariantIter iterator;
  g_variant_iter_init(&iterator, interfaces);
  const char* interface = nullptr;
  GVariant* properties = nullptr;
  while (g_variant_iter_loop(&iterator, "{&s@a{sv}}", &interface, &properties)) {
    m_objects[object][interface].reset(g_variant_ref(properties));
  }
}

void UsbSticks::Remove(const char* object, GVariant* interfaces) {
  const auto entry = m_objects.find(object);
  if (entry == m_objects.end()) {
    return;
  }
  GVariantIter iterator;
  g_variant_iter_init(&iterator, interfaces);
  const char* interface = nullptr;
  while (g_variant_iter_loop(&iterator, "&s", &interface)) {
    entry->second.erase(interface);
  }
  if (entry->second.empty()) {
    m_objects.erase(entry);
  }
}

GVariant* UsbSticks::Find(const Object& object, const char* interface) {
  const auto entry = object.find(interface);
  return entry == object.end() ? nullptr : entry->second.get();
}

std::vector<UsbSticks::Stick> UsbSticks::All() const {
  std::map<std::string, std::vector<FileSystem>> file_systems;  // by drive
  for (const auto& [path, object] : m_objects) {
    GVariant* const block = Find(object, kBlock);
    GVariant* const file_system = Find(object, kFileSystem);
    if (block != nullptr && file_system != nullptr && !IsTrue(block, "HintIgnore")) {
      file_systems[Text(block, "Drive", "o")].push_back({path, MountPoints(file_system)});
    }
  }
  std::vector<Stick> sticks;
  for (auto& [path, partitions] : file_systems) {
    const auto object = m_objects.find(path);
    GVariant* const drive = object == m_objects.end() ? nullptr : Find(object->second, kDrive);
    if (drive == nullptr || !IsUsbDrive(drive)) {
      continue;
    }
    guint64 since = 0;
    g_variant_lookup(drive, "TimeDetected", "t", &since);
    std::ranges::sort(partitions, {}, [](const FileSystem& partition) {
      return std::make_tuple(partition.object.size(), partition.object);  // 2 before 10
    });
    sticks.push_back({path, since, Product(drive), std::move(partitions)});
  }
  std::ranges::stable_sort(sticks, {}, &Stick::since);
  return sticks;
}

const UsbSticks::Stick* FindStick(const std::vector<UsbSticks::Stick>& sticks,
                                  const UsbSticks::Stick& wanted) {
  const auto found =
      std::ranges::find_if(sticks, [&](const UsbSticks::Stick& stick) { return stick.IsSame(wanted); });
  return found == sticks.end() ? nullptr : &*found;
}
