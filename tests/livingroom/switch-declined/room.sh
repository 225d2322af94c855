# The user asks for 5 GHz, which has a name of its own here, looks at it, and wants back.

on_slow_radio HomeNet_5G
saved home-5g HomeNet_5G autoconnect no
pause 8
traffic begin
ask_for_fast
soon 40 "the user is asked" key_is db/menu/network/launchNS SHOWPOPUP
soon 5 "the fast radio has the TV" has_tv fast
pause 2
gap=$(traffic gap)
traffic begin
key_set db/menu/network/launchNS CANCELPRESSED
soon 20 "the page is told" key_is db/menu/network/launchNS PAGECHANGED
soon 10 "the way back is done" logged "rollback successfully done"
soon 5 "the slow radio has the TV" has_tv slow
soon 10 "frames pass" frames_pass wlan0
pause 1
say "longest time without an answer: $gap ms, and $(traffic gap) ms on the way back"
soon 20 "there is a record of the answer" has_record EV005 WIFI_BANDSWITCH swreason=0 select=0
holds 5 "the slow radio keeps it" has_tv slow
