#include "UsbCommands.h"

#include <algorithm>
#include <string>
#include <string_view>

#include <glib.h>

#include "CommandRequest.h"
#include "VirtualTv.h"

namespace tv_commands {
namespace {

constexpr char kUsualName[] = "Stick";
constexpr char kSticksDirectory[] = "/opt/usr/data/usb/";
constexpr std::size_t kLongestName = 64;

/// A stick's name is a directory's name too.
bool IsStickName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name.front() != '.' &&
         std::ranges::all_of(name, [](char c) { return g_ascii_isprint(c) && c != '/'; });
}

std::string StickName(const Json::Value& request) {
  std::string name = request.isMember("name") ? Text(request, "name") : kUsualName;
  if (!IsStickName(name)) {
    throw Refused(
        "the name of a stick is plain text without '/' at its beginning or in it, of at most 64 "
        "characters");
  }
  return name;
}

}  // namespace

void DoStick(VirtualTv& tv, const Json::Value& request) {
  UsbSockets& sockets = tv.GetUsbSockets();
  const std::string action = Text(request, "action");
  if (action == "insert") {
    const std::string name = StickName(request);
    const bool is_broken = request.isMember("broken") && Flag(request, "broken");
    if (!sockets.Insert(
            {.product = name, .directory = kSticksDirectory + name, .is_broken = is_broken})) {
      throw Refused("a stick of that name is there already");
    }
  } else if (action == "remove") {
    if (!sockets.Remove(StickName(request))) {
      throw Refused("there is no such stick");
    }
  } else if (action == "unmount") {
    if (!sockets.Unmount(StickName(request))) {
      throw Refused("there is no such stick");
    }
  } else {
    RefuseAction("stick", action);
  }
}

void DoCapture(VirtualTv& tv, const Json::Value& request) {
  PacketCapture& capture = tv.GetCapture();
  const std::string action = Text(request, "action");
  if (action == "size") {
    capture.SetFileSize(static_cast<std::size_t>(
        Number(request, "bytes", PacketCapture::kLeastBytes, PacketCapture::kMostBytes)));
  } else if (action == "end") {
    if (!capture.EndByItself()) {
      throw Refused("no capture runs");
    }
  } else {
    RefuseAction("capture", action);
  }
}

Json::Value SticksStatus(VirtualTv& tv) {
  Json::Value sticks = Json::arrayValue;
  for (const UsbSockets::Stick& stick : tv.GetUsbSockets().Sticks()) {
    Json::Value& entry = sticks.append(Json::objectValue);
    entry["name"] = stick.product;
    entry["directory"] = stick.directory;
    entry["mounted"] = stick.is_mounted;
    entry["broken"] = stick.is_broken;
  }
  return sticks;
}

Json::Value CaptureStatus(VirtualTv& tv) {
  const PacketCapture& capture = tv.GetCapture();
  Json::Value status;
  status["running"] = capture.IsRunning();
  status["bytes"] = static_cast<Json::UInt64>(capture.FileSize());
  return status;
}

}  // namespace tv_commands
