#pragma once

#include <cstdint>
#include <span>

#include "Radio.h"

/// What a radio tells of itself: the information elements of its beacons and answers. Anybody near can
/// send such a frame, so nothing in it is believed before it was measured. Pure functions.
namespace radio_elements {

/// Fills in the name, the security, the width and the generation.
/// @param elements    as received; what is damaged or cut counts as not sent
/// @param is_private  the capability bit that says that frames are encrypted
/// @param radio       in: the frequency, which tells the band; out: the rest
void Read(std::span<const std::uint8_t> elements, bool is_private, Radio& radio);

}  // namespace radio_elements
