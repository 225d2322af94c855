#pragma once

#include "HandleSet.h"
#include "net_connection.h"

struct connection_profile_handle_s {
  connection_profile_type_e type;
};

/// The profiles that the program above the platform holds.
HandleSet<connection_profile_handle_s>& Profiles();
