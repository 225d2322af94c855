#pragma once

#include <string>

/// The service tool's keys.
class RSEUtil {
 public:
  static const std::string m_RSEVconf;          ///< its commands
  static const std::string m_RSELaunchedVconf;  ///< whether it has the TV in regulation test mode
};
