# The way to the internet fails step by step, and each step is told.

network_manager
router
addresses
internet
nmcli connection add type ethernet con-name wired ifname eth0 > /dev/null
soon 30 "the TV has an address" nmcli --wait 20 connection up wired
start_daemon
soon 15 "all works" equals "HTTP works" verdict
soon 5 "the TV is online" key_is db/menu/network/internet_status ONLINE
is "the router was asked for the page" yes "$(grep -q "GET / HTTP/1.*http works" "$LOGS/internet.log" && echo yes)"

in_router ip link set eth1 down # the socket in the wall leads nowhere
soon 30 "a dead gateway is told" equals "GATEWAY fails" verdict
soon 5 "the TV is offline" key_is db/menu/network/internet_status OFFLINE
in_router ip link set eth1 up
soon 45 "all works again" equals "HTTP works" verdict

for dns in silent unknown; do
  internet dns $dns
  soon 30 "a name service that is $dns is told" equals "DNS fails" verdict
  soon 5 "the TV is offline" key_is db/menu/network/internet_status OFFLINE
  internet dns works
  soon 45 "all works again" equals "HTTP works" verdict
  soon 5 "the TV is online" key_is db/menu/network/internet_status ONLINE
done

for http in broken hangs portal; do
  internet http $http
  soon 40 "a web that is $http is told" equals "HTTP fails" verdict
  internet http works
  soon 45 "all works again" equals "HTTP works" verdict
done

cable out
soon 10 "the cable is told" equals "PHY fails" verdict
soon 5 "the TV is offline" key_is db/menu/network/internet_status OFFLINE
cable in
soon 45 "all works again" equals "HTTP works" verdict
