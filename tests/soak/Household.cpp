#include "Household.h"

#include <array>

namespace soak {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using namespace std::chrono_literals;

/// Some things come at once after others, some while the last is still under way, and some much later.
milliseconds Pause(Dice& dice) {
  switch (dice.Below(10)) {
    case 0:
    case 1:
      return dice.Wait(1ms, 50ms);
    case 2:
    case 3:
    case 4:
      return dice.Wait(50ms, 5s);
    case 5:
    case 6:
    case 7:
    case 8:
      return dice.Wait(5s, 1min);
    default:
      return dice.OneIn(12) ? dice.Wait(20min, 4h) : dice.Wait(1min, 15min);
  }
}

std::vector<Chore> AllChores() {
  std::vector<Chore> all;
  for (const auto* chores : {&PlugChores(), &RadioChores(), &ViewerChores(), &TroubleChores()}) {
    all.insert(all.end(), chores->begin(), chores->end());
  }
  return all;
}

const Chore& PickChore(const std::vector<Chore>& chores, Dice& dice) {
  std::size_t sum = 0;
  for (const Chore& chore : chores) {
    sum += static_cast<std::size_t>(chore.weight);
  }
  std::size_t place = dice.Below(sum);
  for (const Chore& chore : chores) {
    const auto weight = static_cast<std::size_t>(chore.weight);
    if (place < weight) {
      return chore;
    }
    place -= weight;
  }
  return chores.back();
}

}  // namespace

Events Household::NextDay() {
  static const std::vector<Chore> chores = AllChores();
  Diary diary;
  if (m_dice.OneIn(4)) {  // the notification program goes missing until the end of the day
    const milliseconds when = kDay - m_dice.Wait(1min, 8h);
    diary.After(when, {"close", "popup"});
    diary.After(when, {"remove", "popup", "program"});
  }
  diary.LetPass(1s);
  while (diary.Time() < kDay) {
    PickChore(chores, m_dice).write(diary, m_dice);
    diary.LetPass(Pause(m_dice));
  }
  return diary.Close(kDay);
}

const std::vector<std::string>& Furnishing() {
  static const std::vector<std::string> steps = {
      "set db/menu/marquee/homedatacontrol/defaultdisclaimeragree int 1",
      "set memory/wizard/wizard_mode string OFF",
      "feature set network.network_support 3",
      "feature set networkui.network_popup_supported true",
      "feature set product.b2b_option_support false",
      "feature set projector_feature_support false",
      "feature set projector.engine_type 0",
      "feature set tv_model_type 0",
      "feature set product/wifi_vendor 1",
      "feature set product/sw_version T-SOAK-1.0",
      "package install org.orvik.browser",
      "radio add 02:00:00:00:00:10 Home passphrase=lemonade rssi=-62",
      "radio add 02:00:00:00:00:14 Home passphrase=lemonade rssi=-65 frequency=5180 bandwidth=80 "
      "mode=ac "
      "ipv6=2001:db8::14",
      "radio add 02:00:00:00:00:20 Cellar hidden passphrase=potatoes rssi=-71 frequency=2412",
      "radio add 02:00:00:00:00:30 'The office' security=enterprise rssi=-70 frequency=5240 mode=ax",
      "radio add 02:00:00:00:00:40 \"Aunt's caf\xC3\xA9\" security=open rssi=-80 frequency=2462 "
      "portal=http://portal.example/",
      "wifi see-all",
      "wifi save Home passphrase=lemonade frequency=2437",
      "wifi save Cellar passphrase=potatoes frequency=2412",
      "wifi save 'The office' security=enterprise frequency=5240",
      "wifi join 02:00:00:00:00:10",
  };
  return steps;
}

}  // namespace soak
