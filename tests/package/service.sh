# The system service: what it may do under its sandbox, what it may not, and who may write settings.

# How exposed systemd finds the unit, in tenths of its scale from 0 to 10. Lower it with the unit's; raise it
# for nothing but a hole that docs/installing.md names.
readonly MOST_EXPOSED=20

readonly RESET_FILE=/home/owner/share/Root/installed.pem

service() {
  local pid
  expect "the service is up" soon is_state active
  within mkdir -p /etc/pelorus
  within cp /usr/share/pelorus/system-info/tv.conf /etc/pelorus/system-info.conf
  within systemctl restart pelorus
  expect "the unit verifies" within systemd-analyze verify --man=no /lib/systemd/system/pelorus.service
  exposure
  within gpasswd -M reader,writer pelorus > /dev/null
  within gpasswd -a writer pelorus-settings > /dev/null
  pid=$(main_pid)
  expect "the daemon is not root" test "$(stat -c %U "/proc/$MACHINE/root/proc/$pid")" != root
  expect "its privileges are raw packets and scans" has_two_privileges "$pid"
  expect "its log is in the journal" soon logged 'On Pelorus Init'

  cable
  rights "$pid"
  directories "$pid"
  access
  certificates
  capture "$pid"
  rotation
  killed
}

exposure() {
  within systemd-analyze security --no-pager --threshold="$MOST_EXPOSED" pelorus.service > "$ROOM/exposure" 2>&1 ||
    true
  tail -1 "$ROOM/exposure"
  expect "the service is no more exposed than $MOST_EXPOSED of 100" \
    within systemd-analyze security --no-pager --threshold="$MOST_EXPOSED" pelorus.service
}

has_two_privileges() {
  within cat "/proc/$1/status" | grep -E '^(Cap(Prm|Eff|Bnd)|NoNewPrivs|Seccomp):' | sort | tr '\t\n' '  '
  [[ $(within cat "/proc/$1/status" | grep -cE '^Cap(Prm|Eff|Bnd):.0000000000003000$') == 3 ]]
}

logged() { within journalctl --quiet --unit pelorus --grep "$1"; }

cable() {
  nsenter --target "$MACHINE" --net ip link add tv type veth peer name wall
  nsenter --target "$MACHINE" --net ip link set tv up
  nsenter --target "$MACHINE" --net ip link set wall up
  expect "a cable that is plugged in shows a popup under the sandbox" soon popup_ran
}

popup_ran() { logged 'posix_spawn ret 0' && within pgrep -f '^ethernet_attached'; }

# What other services would do for the daemon. They are there, and do not run.
rights() {
  local action
  for action in network-control settings.modify.system; do
    expect "polkit lets it ask NetworkManager for $action" may "$1" "$action"
  done
  for action in settings.modify.hostname enable-disable-wifi; do
    expect "and not for $action" not may "$1" "$action"
  done
  expect "the bus carries its words to the supplicant" not refused_by_bus pelorus
  expect "and nobody else's" refused_by_bus stranger
}

may() { within pkcheck --action-id "org.freedesktop.NetworkManager.$2" --process "$1"; }

refused_by_bus() {
  local said
  said=$(within runuser -u "$1" -- dbus-send --system --print-reply --dest=fi.w1.wpa_supplicant1 /fi/w1/wpa_supplicant1 \
    org.freedesktop.DBus.Peer.Ping 2>&1) || true
  echo "$said"
  [[ $said == *AccessDenied* ]]
}

# in_sandbox PID COMMAND...: what the daemon could do, with its file systems, its groups and no privilege.
in_sandbox() {
  within nsenter --target "$1" --mount setpriv --reuid pelorus --regid pelorus --init-groups --inh-caps=-all \
    --bounding-set=-all "${@:2}"
}

directories() {
  local place
  for place in /var/lib/pelorus/kpi /var/lib/pelorus/settings/db/menu /run/pelorus/settings/memory \
    /home/owner/share/connmancertpath /opt/usr/data/network; do
    expect "it may write to $place" in_sandbox "$1" sh -c "echo > $place/probe && rm $place/probe"
  done
  within mkdir -m 777 /home/somebody /opt/usr/data/other
  for place in /etc /usr /opt/usr/data/other /home/somebody /root /var/lib; do
    expect "it may not write to $place" not in_sandbox "$1" sh -c "echo > $place/probe"
  done
  within rmdir /home/somebody /opt/usr/data/other
  expect "it sees no other process" not in_sandbox "$1" test -e /proc/1/status
}

access() {
  expect "the group that reads, reads" within runuser -u reader -- pelorusctl get db/menu/network/networkapp_status
  expect "and does not write" not within runuser -u reader -- pelorusctl set db/menu/network/networkapp_status 3
  expect "others do not read" not within runuser -u stranger -- pelorusctl get db/menu/network/networkapp_status
  within runuser -u writer -- sh -c 'umask 077; pelorusctl set memory/menu/network/notify_pelorus instant_on'
  expect "the daemon hears the group that writes" soon logged instant_on
}

certificates() {
  within mkdir -p /home/owner/share/Root
  within sh -c "echo certificate > $RESET_FILE"
  within runuser -u writer -- pelorusctl set db/menu/network/eap_certificate_status installed
  expect "new certificates are copied" soon within test -s /home/owner/share/connmancertpath/installed.pem
  within runuser -u writer -- pelorusctl set db/was/factory_reset 1
  expect "a factory reset removes certificates" soon within test ! -e "$RESET_FILE"
}

readonly CAPTURE='/opt/usr/data/network/tcpdump-[time].pcap'

capture() {
  within runuser -u writer -- pelorusctl set memory/Pelorus/start_stop_TCPDump 1
  expect "packets are captured" soon has_setting memory/Pelorus/tcpdump_running_status 1
  nsenter --target "$MACHINE" --net ip address add 192.0.2.1/24 dev tv
  nsenter --target "$MACHINE" --net ping -q -c 3 -i 0.2 192.0.2.1 > /dev/null 2>&1 || true
  within runuser -u writer -- pelorusctl set memory/Pelorus/start_stop_TCPDump 0
  expect "until that is stopped" soon has_setting memory/Pelorus/tcpdump_running_status 0
  expect "and are in the file" within test -s "$CAPTURE"
  within mkdir -p /media/stick
  within mount -t tmpfs -o uid=pelorus,mode=700 stick /media/stick
  expect "a stick that is mounted later may be written to" in_sandbox "$1" sh -c 'echo > /media/stick/probe'
  within umount /media/stick
  within rmdir /media/stick
}

rotation() {
  within runuser -u pelorus -- sh -c 'umask 027; echo "{}" > /var/lib/pelorus/kpi/journal.jsonl'
  expect "the KPI journal is rotated" within logrotate --force /etc/logrotate.d/pelorus
  expect "and keeps its owner" \
    test "$(within stat -c %U:%a /var/lib/pelorus/kpi/journal.jsonl.1)" = pelorus:640
}

killed() {
  local pid
  pid=$(main_pid)
  within runuser -u writer -- pelorusctl set memory/wizard/wizard_mode PNP_SETUP
  within kill -9 "$pid"
  expect "a daemon that is killed is started again" soon is_another_daemon "$pid"
  expect "settings that live until power-off outlive it" has_setting memory/wizard/wizard_mode PNP_SETUP
  expect "it ends when it is told to" within systemctl stop pelorus
  expect "and that is no failure" is_state inactive
}

virtual_tv() {
  within sh -c 'echo $$ > /tmp/tv.pid; exec pelorus-virtual > /tmp/tv.log 2>&1 < /dev/null' 2> /dev/null &
  disown
  expect "the virtual TV is up" soon within pelorusctl tv status
  within pelorusctl set memory/wizard/wizard_mode ''
  within pelorusctl tv cable plug
  expect "its cable shows a popup" soon close_popup ethernet_attached
  within pelorusctl tv cable unplug
  expect "and another one when it is pulled" soon close_popup ethernet_detached
  expect "it ends on SIGTERM" end_of_tv
  within rm /tmp/tv.log /tmp/tv.pid
}

close_popup() { within sh -c 'popup=$(pgrep -f "^$1") && kill "$popup"' close "$1"; }

end_of_tv() {
  within sh -c 'kill "$(cat /tmp/tv.pid)"'
  soon not within sh -c 'kill -0 "$(cat /tmp/tv.pid)"'
}
