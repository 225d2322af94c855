# Three saved networks, one of them hidden: their order, connecting by command, a wrong key, one out of range, one
# that another program forgets, and the reset.

network_manager
radios
access_point home wlan2 HomeNet "$FAST" a 36
access_point office wlan1 Office 02:11:22:33:55:50 g 6
access_point cellar wlan3 Cellar 02:11:22:33:66:50 g 11 ignore_broadcast_ssid=1
addresses
saved home HomeNet connection.autoconnect no
saved office Office connection.autoconnect no
saved cellar Cellar connection.autoconnect no wifi.hidden yes
soon 40 "the TV has heard the hidden one, which nobody has used yet" hears 02:11:22:33:66:50
start_daemon
watch_keys db/menu/network/SavedAPList db/menu/network/TopSavedAP memory/menu/network/pelorus_command

soon 60 "a program connects to the office" nmcli --wait 50 connection up office
soon 10 "it is on top of the list" equals Office sh -c "'$CTL' get --raw db/menu/network/SavedAPList | grep -o '\"SSID\" : \"[^\"]*\"' | head -1 | cut -d'\"' -f4"
soon 60 "the home is connected by command" "$CTL" saved connect HomeNet --wait 50
soon 5 "its access point has the TV" has_tv home
soon 10 "frames pass" frames_pass wlan0
soon 10 "it comes first, the office second" equals "HomeNet Office" sh -c "'$CTL' get --raw db/menu/network/SavedAPList | grep -o '\"SSID\" : \"[^\"]*\"' | head -2 | cut -d'\"' -f4 | paste -sd' '"
"$CTL" saved connect Cellar --wait 60 > "$HERE/said" 2>&1
soon 30 "the hidden one is connected by command" has_tv cellar
soon 10 "the order follows" equals "Cellar HomeNet Office" saved_names

popups_before=$(popups)
switch_off office
"$CTL" saved connect Office --wait 60 > "$HERE/said" 2>&1
holds 3 "one out of range changes nothing" has_tv cellar

nmcli connection modify home wifi-sec.psk wrong-wrong
"$CTL" saved connect HomeNet --wait 60 > "$HERE/said" 2>&1
is "a wrong key connects to nothing" "" "$(has_tv home && echo connected)"
soon 30 "and the viewer is told" sh -c "cut -f4 $POPUPS | grep -q cannot_connect || grep -q cannot_connect $LOGS/keys.log"
is "it was not told before" "" "$(grep cannot_connect <<< "$popups_before")"

nmcli connection delete office > /dev/null
"$CTL" saved forget Office > "$HERE/said" 2>&1
is "what another program forgot is dropped" 0 $?
is "the others stay" "" "$(saved_names | tr ' ' '\n' | grep Office)"
"$CTL" saved reset > "$HERE/said" 2>&1
is "the reset empties the list" 0 $?
