#pragma once

#include "HandleSet.h"
#include "net_connection.h"

struct connection_profile_handle_s {
  connection_profile_type_e type;
  int link;                      // its interface; 0 when it is not in use
  connection_h owner = nullptr;  // with which it ends; null: with none
};

/// The profiles that the program above the platform holds.
HandleSet<connection_profile_handle_s>& Profiles();
