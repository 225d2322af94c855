# The player reports trouble, and the TV moves to 5 GHz by itself: without a question, and not again before it may.

on_slow_radio
key_set db/menu/network/networkapp_status 0
for trouble in buffer lowres; do
  key_set db/menu/network/auto_5ghz_switch_settings 1
  key_set memory/sp-kpi/neterr_streaming_$trouble 1
  soon 40 "the TV moves for $trouble" has_tv fast
  soon 10 "it may not move again" key_is db/menu/network/auto_5ghz_switch_settings 0
  soon 20 "frames pass" frames_pass wlan0
  soon 20 "there is a record of the request" has_record EV006 AWM
  soon 20 "and one of the move" has_record EV005 WIFI_BANDSWITCH
  is "nobody was asked" "" "$(grep -F SHOWPOPUP "$LOGS/keys.log")"
  say "$(records EV005 | tail -1)"
  [[ $trouble == buffer ]] || continue
  nmcli connection modify home wifi.bssid "$SLOW"
  soon 60 "it is brought back by hand" nmcli --wait 50 connection up home
  soon 10 "the slow radio has it" has_tv slow
  rm -f "$JOURNAL"
done
