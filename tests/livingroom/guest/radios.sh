# The router in the other room: a network namespace with simulated radios, hostapd on them, and dnsmasq behind.
# The TV has wlan0. The simulated radios hear each other at a constant -30 dBm.

readonly ROUTER_ADDRESS=192.168.77.1
readonly SLOW=02:11:22:33:44:50 FAST=02:11:22:33:44:54

in_router() { ip netns exec router "$@"; }

# router: without radios; the far end of the TV's cable is in it, on the same bridge.
router() {
  [[ ! -e /run/netns/router ]] || return 0
  modprobe -a af_packet veth bridge virtio_net
  within 10 test -e /sys/class/net/eth1
  ip netns add router
  in_router ip link set lo up
  in_router ip link add br0 type bridge
  in_router ip link set br0 type bridge forward_delay 0
  in_router ip address add $ROUTER_ADDRESS/24 dev br0
  in_router ip link set br0 up
  ip link set eth1 netns router
  in_router ip link set eth1 up master br0
}

# radios: of the router wlan1 to wlan4. The country is one with few channels, since a scan listens on each.
radios() {
  router
  [[ ! -e /sys/class/net/wlan0 ]] || return 0
  local radio
  modprobe mac80211_hwsim radios=5
  modprobe -a ccm gcm cmac ctr aes_generic
  within 10 test -e /sys/class/net/wlan4
  iw reg set DE
  for radio in 1 2 3 4; do
    iw phy "$(basename "$(readlink "/sys/class/net/wlan$radio/phy80211")")" set netns name router
  done
}

# access_point NAME INTERFACE SSID BSSID g|a CHANNEL [LINE]...: with further lines of hostapd's configuration;
# without any of wpa= or open= it is a network with the key "secret123".
access_point() {
  local name=$1 configuration=$HERE/$1.conf
  {
    printf 'interface=%s\nssid=%s\nbssid=%s\nhw_mode=%s\nchannel=%s\n' "$2" "$3" "$4" "$5" "$6"
    printf 'driver=nl80211\nbridge=br0\nctrl_interface=%s\ncountry_code=DE\nieee80211n=1\n' "$HERE/hostapd-$name"
    [[ $5 != a ]] || echo ieee80211ac=1
    (($# == 6)) || printf '%s\n' "${@:7}" | grep -v '^open='
    if ! printf '%s\n' "${@:7}" | grep -qE '^(wpa|open)='; then
      printf 'wpa=2\nwpa_key_mgmt=WPA-PSK\nrsn_pairwise=CCMP\nwpa_passphrase=secret123\n'
    fi
  } > "$configuration"
  ip netns exec router hostapd -t -d "$configuration" >> "$LOGS/hostapd-$name.log" 2>&1 &
  echo $! > "$HERE/hostapd-$name.pid"
  soon 20 "$name is on the air" grep -q AP-ENABLED "$LOGS/hostapd-$name.log"
}

# switch_off NAME: an access point.
switch_off() {
  kill "$(cat "$HERE/hostapd-$1.pid")" && within 5 not kill -0 "$(cat "$HERE/hostapd-$1.pid")"
  rm -f "$HERE/hostapd-$1.pid"
}

# ask_access_point NAME COMMAND...: of hostapd's control interface.
ask_access_point() { in_router hostapd_cli -p "$HERE/hostapd-$1" "${@:2}"; }

# heard_by NAME TEXT: in an access point's log.
heard_by() { grep -qF -- "$2" "$LOGS/hostapd-$1.log"; }

# has_tv NAME: the TV is at that access point, and let in. One that the TV left for another keeps it in its list.
has_tv() {
  iw dev wlan0 link | grep -qi "$(sed -n 's/^bssid=//p' "$HERE/$1.conf")" &&
    ask_access_point "$1" sta "$(cat /sys/class/net/wlan0/address)" | grep -qF '[AUTHORIZED]'
}

# hears BSSID: the TV, when it scans.
hears() { nmcli -t -f BSSID device wifi list --rescan yes | tr -d '\\' | grep -qi "$1"; }

# addresses [OPTION]...: gives addresses to whoever comes, with further options of dnsmasq.
addresses() {
  ip netns exec router dnsmasq --keep-in-foreground --interface=br0 --bind-interfaces --no-ping --user=root --leasefile-ro \
    --dhcp-range=192.168.77.50,192.168.77.150,10m --dhcp-option=option:dns-server,$ROUTER_ADDRESS --port=0 \
    --pid-file= "$@" \
    >> "$LOGS/dnsmasq.log" 2>&1 &
  echo $! > "$HERE/dnsmasq.pid"
}

# frames_pass INTERFACE: an answer of the router over it.
frames_pass() { ping -c1 -W1 -I "$1" $ROUTER_ADDRESS; }

# two_bands [NAME]: one router of two radios, as at home; the fast one has another name if one is given.
two_bands() {
  radios
  access_point slow wlan1 HomeNet "$SLOW" g 1
  access_point fast wlan2 "${1:-HomeNet}" "$FAST" a 36
  addresses
}

# receive_frames: at the router, into $HERE/heard.
receive_frames() {
  ip netns exec router python3 "$LIVINGROOM/guest/receiver.py" "$HERE/heard" &
  echo $! > "$HERE/receiver.pid"
  within 10 test -e "$HERE/heard"
}

# send_frames COUNT: from the TV to the router, each with its number.
send_frames() {
  local number
  for ((number = 1; number <= $1; ++number)); do
    echo "frame-$number" > /dev/udp/$ROUTER_ADDRESS/9999
  done
}

# The frames in a text, in order and without those that came twice.
frames_in() { grep -aoE 'frame-[0-9]+' | sort -u -t- -k2n; }

# saved NAME SSID [SETTING VALUE]...: a network that the TV knows, with the key of access_point.
saved() {
  nmcli connection add type wifi con-name "$1" ifname wlan0 ssid "$2" wifi-sec.key-mgmt wpa-psk \
    wifi-sec.psk secret123 "${@:3}" > "$HERE/said"
}

# traffic begin: a question to the router every 50 ms over wlan0, each answer with its time.
# traffic gap: the longest time without an answer since, in ms.
traffic() {
  case $1 in
    begin)
      ping -D -i 0.05 -I wlan0 $ROUTER_ADDRESS > "$HERE/traffic" 2>&1 &
      echo $! > "$HERE/traffic.pid"
      within 5 grep -q 'bytes from' "$HERE/traffic"
      ;;
    gap)
      kill "$(cat "$HERE/traffic.pid")"
      rm "$HERE/traffic.pid"
      sed -n 's/^\[\([0-9.]*\)\].*bytes from.*/\1/p' "$HERE/traffic" |
        awk 'NR > 1 && $1 - last > most { most = $1 - last } { last = $1 } END { printf "%d\n", most * 1000 }'
      ;;
  esac
}

# on_slow_radio [NAME]: at home (see two_bands), with the TV on the 2.4 GHz radio and the daemon up, as a move to 5 GHz begins.
on_slow_radio() {
  network_manager
  two_bands "$@"
  saved home HomeNet wifi.bssid "$SLOW"
  soon 40 "the TV is on the slow radio" nmcli --wait 30 connection up home
  soon 5 "the slow radio has it" has_tv slow
  consent
  start_daemon
  watch_keys db/menu/network/launchNS db/menu/network/SavedAPList db/menu/network/TopSavedAP
  soon 20 "the TV's network is Wi-Fi" key_is db/menu/network/network_type Wireless
  key_set db/menu/network/networkapp_status 1
}

# internet: what is behind the router, as the daemon is told to ask it every second. Not there, names are not known.
# internet dns|http HOW: see internet.py.
internet() {
  if (($#)); then
    echo "$2" > "$HERE/$1"
    return
  fi
  ip netns exec router python3 "$LIVINGROOM/guest/internet.py" http://portal.test/login "$HERE" >> "$LOGS/internet.log" 2>&1 &
  echo $! > "$HERE/internet.pid"
  mkdir -p /etc/pelorus
  printf '[InternetProbe]\nAddress=http://check.test/\nAnswer=you are online\nIntervalSeconds=1\n' > /etc/pelorus/network.conf
}

# The last verdict that the daemon was told about the way to the internet, as "DNS fails".
verdict() { sed -n 's/.*StrState: \([A-Z]*\), Result 0$/\1 works/p; s/.*StrState: \([A-Z]*\), Result -.*/\1 fails/p' "$DAEMON_LOG" | tail -1; }
