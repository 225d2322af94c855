# The user asks for 5 GHz, but that radio has gone since it was heard. Nothing is interrupted.

on_slow_radio
switch_off fast
traffic begin
left=$(grep -c AP-STA-DISCONNECTED "$LOGS/hostapd-slow.log")
ask_for_fast
soon 60 "the page is told" key_is db/menu/network/launchNS PAGECHANGED
pause 1
gap=$(traffic gap)
say "longest time without an answer: $gap ms"
is "the slow radio was not left" "$left" "$(grep -c AP-STA-DISCONNECTED "$LOGS/hostapd-slow.log")"
is "what passes was not interrupted" yes "$( ((gap < 500)) && echo yes || echo "$gap ms")"
holds 5 "the slow radio has the TV" has_tv slow
is "nothing was moved to" "" "$(records EV005)"
