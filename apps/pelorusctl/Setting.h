#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>
#include <json/value.h>

#include "vconf_keys.h"

/// A settings key as somebody at a shell sees it: the daemon only needs to know that a read failed, here
/// it matters why.

struct VariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

struct Setting {
  enum class State {
    kValue,
    kNone,        ///< nobody has written the key
    kGroup,       ///< the name is the beginning of other keys' names
    kDamaged,     ///< there is a file, and what it holds is not a value
    kUnreadable,  ///< there is a file that this user may not read, or a failing disk
  };
  State state = State::kNone;
  Variant value;  ///< set in kValue only
  int error = 0;  ///< errno, in kUnreadable only
};

/// Reads a key whose name the store accepts.
Setting ReadSetting(const std::string& key);

/// @return why there is no value to show, or one that is not of the type the catalogue gives the key, as
/// a
///         sentence for a person; nullopt when all is well
std::optional<std::string> Complaint(const std::string& key, const Setting& setting);

/// @return nullopt for a value of a type that no setting has
std::optional<vconf_keys::Type> TypeOf(GVariant* value);

/// The type's name, also of a value of a type that no setting has.
std::string TypeNameOf(GVariant* value);

/// The value itself: the text of a string, whatever bytes it holds.
std::string PlainText(GVariant* value);

/// The value on one line, as the store writes it: strings in quotes, with control characters escaped.
std::string QuotedText(GVariant* value);

/// What a table shows of a key: the value on one line, "-", or in parentheses why there is none to use.
std::string Cell(const std::string& key, const Setting& setting);

/// The value for JSON. A string that is not UTF-8 loses the bytes that JSON cannot hold.
Json::Value ToJson(GVariant* value);

/// One line of JSON.
std::string ToLine(const Json::Value& document);

/// Makes a value of what was typed.
/// @return null when it is not of that type; `expected` then says what would have been
Variant ParseValue(vconf_keys::Type type, const std::string& text, std::string& expected);

/// The keys that have a file under the store's directories, sorted.
std::vector<std::string> KeysOnDisk();

/// @param may_be_new  the caller is about to write, which makes the store
/// @return why no key can be looked up at all, or nullopt
std::optional<std::string> StoreFault(bool may_be_new);
