#pragma once

#include <cstddef>
#include <map>
#include <string>

/// What the program under the TV holds of it at this moment, by kind: handles that it has not given
/// back, callbacks that it has not taken back. For those who look for what is forgotten. Main-loop
/// thread only.
namespace holdings {

using Counts = std::map<std::string, std::size_t>;

Counts Count();

/// Those of the connection interface, a part of the above.
void AddConnections(Counts& counts);

}  // namespace holdings
