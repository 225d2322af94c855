#pragma once

#include <set>
#include <string>

#include "NumberedHandles.h"
#include "package_manager.h"

/// The applications that are installed. Owned by VirtualTv; main-loop thread only.
class Packages {
 public:
  void Install(const std::string& id) { m_ids.insert(id); }
  /// @return false when it was not installed
  bool Remove(const std::string& id) { return m_ids.erase(id) != 0; }
  [[nodiscard]] const std::set<std::string>& List() const { return m_ids; }

  using Handles = NumberedHandles<package_info_h, std::string>;
  [[nodiscard]] Handles& GetHandles() { return m_handles; }

 private:
  std::set<std::string> m_ids;
  Handles m_handles;
};
