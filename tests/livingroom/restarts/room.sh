# The services die under the daemon and come back: it follows.

network_manager
radios
access_point home wlan2 HomeNet "$FAST" a 36
access_point office wlan1 Office 02:11:22:33:55:50 g 6
addresses
saved home HomeNet connection.autoconnect no
saved office Office connection.autoconnect no
start_daemon
soon 60 "the TV connects" nmcli --wait 50 connection up home
soon 10 "it is on the list" key_has db/menu/network/SavedAPList HomeNet

# moves_on NETWORK NAME AFTER: the daemon can still bring the TV elsewhere.
moves_on() {
  is "the daemon runs after $3" yes "$(daemon_runs && echo yes)"
  soon 60 "it connects by command after $3" "$CTL" saved connect "$1" --wait 50
  soon 10 "the access point has the TV" has_tv "$2"
}

end_service NetworkManager KILL
pause 2
is "it runs without NetworkManager" yes "$(daemon_runs && echo yes)"
network_manager
moves_on Office office "NetworkManager's death"

end_service supplicant KILL
pause 2
supplicant
soon 60 "NetworkManager has the radio again" sh -c "nmcli -t -f DEVICE,STATE device | grep -qE '^wlan0:(disconnected|connected)'"
moves_on HomeNet home "the supplicant's death"

for service in NetworkManager supplicant dbus; do end_service $service KILL; done
pause 2
is "it runs without a bus" yes "$(daemon_runs && echo yes)"
network_manager
moves_on Office office "the bus's death"

# The TV looks for a network on all channels, and when the daemon comes to hear of it its radio is gone.
switch_off home
"$CTL" saved connect HomeNet --wait 50 > /dev/null 2>&1 &
looks=$!
soon 20 "it looks on one channel, then on all" grep -qF "could not find handle" "$LOGS/pelorus.log"
pause 1
kill -STOP "$DAEMON"
soon 60 "the look is over" iw dev wlan0 scan trigger freq 2437
modprobe -r mac80211_hwsim
kill -CONT "$DAEMON"
switch_off office
is "the daemon runs without a radio" yes "$(daemon_runs && echo yes)"
radios
access_point office wlan1 Office 02:11:22:33:55:50 g 6
moves_on Office office "the loss of its radio"
wait "$looks"

# A sanitizer needs more than that for itself.
[[ $BUILD == *asan* ]] || soon 40 "at rest after all that it holds less than 8 MB" daemon_holds_under 8192
