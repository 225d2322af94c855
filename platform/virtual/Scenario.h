#pragma once

#include <chrono>
#include <istream>
#include <string>
#include <vector>

#include <json/value.h>

/// Evenings in a living room, written down: what happens to the TV and when, and what must be seen of
/// it. docs/scenarios.md describes the text.
namespace scenario {

struct Step {
  enum class Kind {
    kTv,                   ///< `request` for the virtual TV
    kSet,                  ///< another program of the TV writes `value` of `type` to the key `subject`
    kClosePopup,           ///< the viewer dismisses the popup that is up
    kRemovePopupProgram,   ///< the notification program is missing from now on
    kCreateFile,           ///< another program of the TV leaves the file `subject`
    kExpectPopup,          ///< the next popup that nobody expected yet has the keyword `subject`
    kExpectNoPopup,        ///< no popup came that nobody expected
    kExpectKey,            ///< the key `subject` has the value `value`
    kExpectNoKey,          ///< the key `subject` has no value
    kExpectLog,            ///< since the last step that did something the message `subject` was logged
    kExpectNoLog,          ///< it was not; nothing at all was, when `subject` is empty
    kExpectFile,           ///< the file or directory `subject` is there
    kExpectNoFile,         ///< it is not
    kExpectSoftapManager,  ///< the soft access point manager was started, once more
    kExpectCalls,  ///< the function `subject` was called `count` times since the last clear-calls
    kExpectKpi,  ///< the next KPI record of code `subject` that nobody expected yet has all `fragments`
    kExpectNoKpi,  ///< no KPI record of code `subject`, or of any, came that nobody expected
    kExpectJson,   ///< the key `subject` holds the same JSON document as `value`
    kExpectSaved,  ///< the list of saved networks has the names `fragments`, in this order
    kExpectTop,    ///< the tile of the top ones has the names and statuses `fragments`, each NAME=STATUS
    kExpectWifi,   ///< the TV is connected to the radio `subject`, or to none when it is empty
  };

  Kind kind = Kind::kTv;
  int line = 0;
  std::string text;                  ///< as it was written, without its time and with no passphrase
  std::vector<std::string> remarks;  ///< the lines of comment right before it, for people
  bool is_initial = false;           ///< done before the daemon starts
  std::chrono::milliseconds at{0};   ///< since the daemon's start
  Json::Value request;
  std::string subject;
  std::string type;
  std::string value;
  std::vector<std::string> fragments;
  int count = 0;
};

[[nodiscard]] bool IsExpectation(Step::Kind kind);

struct Scenario {
  std::string file;
  std::vector<Step> steps;  ///< in the order of the text, which is the order of time
};

/// @param file    what errors call the text
/// @param errors  out: each as "FILE:LINE: what"; none when the scenario can be played
Scenario Parse(const std::string& file, std::istream& text, std::vector<std::string>& errors);

/// "FILE:LINE: TEXT", how a step is named in messages.
std::string NameOf(const Scenario& scenario, const Step& step);

}  // namespace scenario
