# The user asks for 5 GHz, and the radio turns the TV away. The TV is back in less than three seconds.

on_slow_radio
switch_off fast
tv=$(cat /sys/class/net/wlan0/address)
echo "$tv" > "$HERE/deny"
access_point refusing wlan2 HomeNet "$FAST" a 36 macaddr_acl=0 "deny_mac_file=$HERE/deny" wpa=2 wpa_key_mgmt=WPA-PSK \
  rsn_pairwise=CCMP wpa_passphrase=secret123

traffic begin
began=$(now)
ask_for_fast
soon 20 "the page is told" key_is db/menu/network/launchNS PAGECHANGED
took=$(($(now) - began))
soon 10 "frames pass" frames_pass wlan0
pause 1
gap=$(traffic gap)
say "told after $(as_seconds $took) s; longest time without an answer: $gap ms"
is "the interruption is under three seconds" yes "$( ((gap < 3000)) && echo yes || echo "$gap ms")"
is "the radio refused it" yes "$(heard_by refusing 'not allowed to authenticate' && echo yes)"
is "it failed" yes "$(logged 'Ap failed to connect,Notify fail UI,transit to rollback state' > /dev/null && echo yes)"
soon 10 "it went back" logged "rollback successfully done"
holds 5 "the slow radio has it" has_tv slow
is "nothing was moved to" "" "$(records EV005)"
