# The user asks for 5 GHz and keeps it. What passes is interrupted for less than a second, and for at most half
# the time that it takes by hand.

on_slow_radio
pause 8
traffic begin
ask_for_fast
soon 20 "the user is asked" key_is db/menu/network/launchNS SHOWPOPUP
is "the fast radio has the TV" yes "$(has_tv fast && echo yes)"
pause 1
gap=$(traffic gap)
is "the interruption is at most a second" yes "$( ((gap <= 1000)) && echo yes || echo "$gap ms")"

key_set db/menu/network/launchNS CONNECTPRESSED
soon 10 "it stays" logged "Reached to final state ,operation success ,going to idle"
soon 20 "there is a record of the move" has_record EV005 WIFI_BANDSWITCH swreason=0 select=1
say "$(records EV005)"
holds 5 "the fast radio keeps it" has_tv fast
soon 5 "frames pass" frames_pass wlan0

# By hand it goes the other way. What was heard has grown old by then, as it has when somebody thinks of moving;
# without the daemon, whose scans would be of help.
stop_daemon
pause 8
traffic begin
nmcli connection modify home wifi.bssid "$SLOW"
soon 60 "by hand it moves" nmcli --wait 50 connection up home
soon 10 "the slow radio has it" has_tv slow
pause 1
gap_by_hand=$(traffic gap)
say "longest time without an answer: $gap ms, by hand $gap_by_hand ms"
is "the interruption is at most half of that by hand" yes \
  "$( ((2 * gap <= gap_by_hand)) && echo yes || echo "$gap of $gap_by_hand ms")"
