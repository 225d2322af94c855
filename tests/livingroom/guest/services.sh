# The services of the machine: the bus, udev, NetworkManager with the supplicant. They stay up over rooms, because
# starting them takes most of a room's time.

readonly HOUSE=/run/house
readonly HOUSE_SERVICES='^(dbus-daemon|systemd-udevd|\(udev-worker\)|NetworkManager|wpa_supplicant|udisksd|ModemManager|polkitd|nm-dispatcher)$'

runs() { [[ -e $HOUSE/$1.pid ]] && kill -0 "$(cat "$HOUSE/$1.pid")" 2>/dev/null; }

# house NAME COMMAND...: a service of the machine, with its log, out of reach of what ends a room.
house() {
  local name=$1
  shift
  mkdir -p "$HOUSE"
  setsid "$@" >> "$HOUSE/$name.log" 2>&1 < /dev/null &
  echo $! > "$HOUSE/$name.pid"
}

# end_service NAME [SIGNAL]
end_service() {
  local pid
  pid=$(cat "$HOUSE/$1.pid") || return
  kill -s "${2:-TERM}" "$pid" 2>/dev/null
  within 10 not kill -0 "$pid"
  rm -f "$HOUSE/$1.pid"
}

base_services() {
  local rules
  runs dbus || bus
  if ! runs udevd; then
    mkdir -p /run/systemd/network /run/udev/rules.d
    ln -sf /dev/null /run/systemd/network/99-default.link # the kernel's names of interfaces stay
    for rules in 60-ifplugd 80-ifupdown; do # they would act on the cable, too, on a machine that has them
      ln -sf /dev/null "/run/udev/rules.d/$rules.rules"
    done
    house udevd /usr/lib/systemd/systemd-udevd
    within 10 test -S /run/udev/control
    udevadm trigger --action=add
    udevadm settle --timeout=30
  fi
}

bus() {
  rm -f /run/dbus/pid /run/dbus/system_bus_socket
  house dbus dbus-daemon --system --nofork --nopidfile
  within 10 test -S /run/dbus/system_bus_socket
}

# The supplicant is started here, with a log that says why a connection failed; NetworkManager finds it on the bus.
supplicant() {
  runs supplicant || house supplicant wpa_supplicant -u -t -O /run/wpa_supplicant
}

# network_manager [LINE...]: with further lines of its configuration.
network_manager() {
  base_services
  supplicant
  runs NetworkManager && return
  {
    printf '[main]\nplugins=keyfile\ndhcp=internal\nno-auto-default=*\nrc-manager=file\n'
    printf '[device]\nwifi.scan-rand-mac-address=no\n[logging]\nlevel=INFO\n'
    (($# == 0)) || printf '%s\n' "$@"
  } > /etc/NetworkManager/NetworkManager.conf
  house NetworkManager NetworkManager --debug
  soon 60 "NetworkManager is up" nmcli -t -f STATE general
}

# What a room told NetworkManager, it shall not tell the next one.
forget_networks() {
  local uuid
  runs NetworkManager || return 0
  nmcli -t -f UUID,TYPE connection | grep -v ':loopback$' | cut -d: -f1 | while read -r uuid; do
    nmcli connection delete "$uuid" > /dev/null 2>&1
  done
  rm -f /var/lib/NetworkManager/{seen-bssids,timestamps,*.lease}
}
