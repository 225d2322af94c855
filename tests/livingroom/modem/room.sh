# A cellular dongle is plugged in and pulled out, twice.

modems
start_daemon
soon 10 "the telephony service is noted" key_is memory/telephony/telephony_ready true
soon 10 "at first there is no dongle" equals dongle_detached popups
watch_keys memory/menu/network/pelorus_command
for round in 1 2; do
  modem in
  soon 40 "the service finds it ($round)" sh -c "busctl --system tree org.freedesktop.ModemManager1 | grep -q /Modem/"
  soon 10 "it is told" key_is memory/menu/network/pelorus_command dongle_attached
  soon 10 "once" equals $round writes memory/menu/network/pelorus_command dongle_attached
  is "the modem was spoken to" yes "$(grep -q CGMI "$LOGS/at.log" && echo yes)"
  modem out
  soon 10 "that it is gone is told" key_is memory/menu/network/pelorus_command dongle_detached
  soon 10 "once" equals $round writes memory/menu/network/pelorus_command dongle_detached
done
dismiss
modem in
soon 40 "after the popup was dismissed, another one is started" equals "dongle_detached dongle_attached" popups
