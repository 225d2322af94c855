# A TV comes into a home and is connected for the first time. The KPI record has the figures of the radio.

network_manager
two_bands
consent
start_daemon
watch_keys db/menu/network/{network_type,ap_name,connected_ap_bssid,SavedAPList,TopSavedAP}
soon 40 "both radios are heard" equals 2 sh -c "nmcli -t -f SSID device wifi | grep -c HomeNet"
soon 40 "the user connects" nmcli --wait 30 device wifi connect HomeNet password secret123
radio=fast bssid=$FAST frequency=5180
has_tv slow > /dev/null && radio=slow bssid=$SLOW frequency=2412
soon 10 "the $radio radio has the TV" has_tv "$radio"
is "its log says so" yes "$(heard_by "$radio" AP-STA-CONNECTED && echo yes)"
soon 10 "frames pass" frames_pass wlan0
soon 10 "the network type is written" key_is db/menu/network/network_type Wireless
soon 10 "the network's name is written" key_is db/menu/network/ap_name HomeNet
soon 10 "its BSSID is written" equals "${bssid,,}" sh -c "'$CTL' get --raw db/menu/network/connected_ap_bssid | tr A-Z a-z"
soon 10 "it is in the list" key_has db/menu/network/SavedAPList HomeNet
soon 10 "it is on the tile, connected" key_has db/menu/network/TopSavedAP Connected
soon 30 "there is a record of the environment" has_record EV001 WIFI_ENV "freq=$frequency"
say "$(records EV001)"
is "it has the signal of the simulated radio" yes "$(records EV001 | grep -qE 'rssi=-[23][0-9];' && echo yes)"
is "and its maker" yes "$(records EV001 | grep -q 'mac=02-11-22' && echo yes)"
is "the key is nowhere" "" "$(grep -rlF secret123 "$DAEMON_LOG" "$JOURNAL" "${SETTINGS[@]}")"
