#include "CommandRequest.h"

namespace tv_commands {
namespace {

std::string Quoted(const char* member) {
  return std::string("\"") + member + "\"";
}

}  // namespace

std::string Text(const Json::Value& request, const char* member) {
  const Json::Value& value = request[member];
  if (!value.isString()) {
    throw Refused(Quoted(member) + " must be a text");
  }
  return value.asString();
}

int Number(const Json::Value& request, const char* member) {
  const Json::Value& value = request[member];
  if (!value.isInt()) {
    throw Refused(Quoted(member) + " must be a whole number");
  }
  return value.asInt();
}

int Number(const Json::Value& request, const char* member, int least, int most) {
  const int number = Number(request, member);
  if (number < least || number > most) {
    throw Refused(Quoted(member) + " must be from " + std::to_string(least) + " to " +
                  std::to_string(most));
  }
  return number;
}

bool Flag(const Json::Value& request, const char* member) {
  const Json::Value& value = request[member];
  if (!value.isBool()) {
    throw Refused(Quoted(member) + " must be true or false");
  }
  return value.asBool();
}

std::string Address(const Json::Value& request, const char* member, GSocketFamily family) {
  std::string text = Text(request, member);
  if (!text.empty()) {
    g_autoptr(GInetAddress) address = g_inet_address_new_from_string(text.c_str());
    if (address == nullptr || g_inet_address_get_family(address) != family) {
      throw Refused(Quoted(member) + " must be an address of its kind, or empty");
    }
  }
  return text;
}

void RefuseAction(const std::string& what, const std::string& action) {
  throw Refused(what + " cannot \"" + action + "\"");
}

}  // namespace tv_commands
