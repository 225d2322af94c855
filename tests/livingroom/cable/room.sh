# A cable is pulled and plugged, at the network card itself.

base_services
router
addresses
ip link set eth0 up
soon 10 "the cable is in" equals 1 cat /sys/class/net/eth0/carrier
watch_keys memory/menu/network/pelorus_command
start_daemon

cable out
soon 5 "the popup says that it is out" equals ethernet_detached popups
soon 5 "it is decided once" logged "GOT DETTACHED Event" 1

cable in
soon 5 "the popup that is up is told that it is in" key_is memory/menu/network/pelorus_command ethernet_attached
is "no second popup is started" ethernet_detached "$(popups)"

dismiss
cable out
soon 5 "after it was dismissed, another one is started" equals "ethernet_detached ethernet_detached" popups
cable in
soon 5 "that one is told, too" equals 2 writes memory/menu/network/pelorus_command ethernet_attached
