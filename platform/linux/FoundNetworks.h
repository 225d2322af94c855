#pragma once

#include <vector>

#include "HeardRadio.h"

/// Networks, made of the radios that carry them. Pure functions.
namespace found_networks {

/// Whether two radios carry one network. Those that hide its name are not known to.
[[nodiscard]] bool IsSameNetwork(const Radio& one, const Radio& other);

/// @return each network once: by the radio that the TV is connected to, else by the strongest
[[nodiscard]] std::vector<HeardRadio> NetworksOf(const std::vector<HeardRadio>& radios);

/// @return the radios that carry the network of `radio`, this one included where it was heard
[[nodiscard]] std::vector<HeardRadio> RadiosOf(const Radio& radio,
                                               const std::vector<HeardRadio>& radios);

}  // namespace found_networks
