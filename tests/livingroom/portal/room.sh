# A hotel, whose network shows a page of its own before it lets anybody through. The TV has a browser.

network_manager
radios
access_point hotel wlan1 "Grand Hotel" 02:11:22:33:77:50 g 1 open=1
addresses
internet
internet http portal
printf '[Desktop Entry]\nType=Application\nName=Browser\nExec=true\n' > /usr/share/applications/org.orvik.browser.desktop
nmcli connection add type wifi con-name hotel ifname wlan0 ssid "Grand Hotel" > /dev/null
soon 60 "the TV is in the hotel's network" nmcli --wait 50 connection up hotel
soon 5 "the access point has it" has_tv hotel
start_daemon
soon 40 "the portal is found, and where it is" logged "OnCaptiveAPCB  IsCaptive ==1:: url==http://portal.test/login"
soon 10 "its page is shown" equals captiveap popups
is "the TV is not online" "" "$(key db/menu/network/internet_status | grep ONLINE)"
internet http works
soon 60 "whoever has paid is online" key_is db/menu/network/internet_status ONLINE
rm /usr/share/applications/org.orvik.browser.desktop
