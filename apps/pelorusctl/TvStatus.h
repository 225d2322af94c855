#pragma once

#include <json/value.h>

/// Prints what a TV says of itself: a line for each thing, its kind first.
void PrintTvStatus(const Json::Value& tv);
