#pragma once

#include <string>

#include <json/value.h>

/// The JSON documents that are exchanged through the settings store.
namespace json_text {

/// Reads a document by the library's strict rules: one object or array, no comments, nothing after it,
/// no key twice. Why it could not be read is logged.
/// @param document  out: of no use on failure
/// @throws Json::Exception when it is nested too deep. So does whoever then takes a value for another
///         type than it is; nobody here catches that, the border to the platform does.
bool ReadStrictly(const std::string& text, Json::Value& document);

/// Writes a document with the library's default settings: tab indentation, keys in order. It is ASCII:
/// other characters are escaped, and bytes that are no UTF-8 become U+FFFD.
std::string Write(const Json::Value& document);

/// A string key's value; empty when there is none.
std::string ReadKey(const char* key);

}  // namespace json_text
