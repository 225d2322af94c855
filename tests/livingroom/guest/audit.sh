# What a room leaves behind: nothing.

# Places in which the services of the machine keep what is theirs.
readonly NOT_THE_ROOMS='^/run/(room|house|udev|dbus|systemd|NetworkManager|wpa_supplicant|udisks2|mount|netns)(/|$)|^/media/root$'

files() {
  find /tmp /var/tmp /home /opt /media /run /usr/apps /etc/pelorus /var/lib/pelorus 2>/dev/null |
    grep -vE "$NOT_THE_ROOMS" | sort
}

# processes FILE: writes them there; kernel threads are children of process 2. Not for a subshell, which is one.
processes() {
  ps -eo pid=,ppid=,comm= > "$HERE/ps"
  while read -r pid parent command; do
    [[ $pid == 2 || $parent == 2 || $pid == $$ || $parent == $$ || $command =~ $HOUSE_SERVICES ]] || echo "$pid $command"
  done < "$HERE/ps" | sort > "$1"
}

remember_machine() {
  BEGAN=$(now)
  files > "$HERE/files.before"
  processes "$HERE/processes.before"
}

# end_all: what the room started and its script did not end.
end_all() {
  local file
  stop_daemon
  for file in "$HERE"/*.pid; do
    [[ ! -e $file ]] || kill "$(cat "$file")" 2>/dev/null
  done
  [[ ! -e $HERE/own ]] || xargs kill 2>/dev/null < "$HERE/own"
  [[ ! -e $POPUPS ]] || cut -f1 "$POPUPS" | xargs kill 2>/dev/null
  forget_networks
  cable in
  [[ ! -e /dev/sda ]] || stick out
  [[ ! -s $GADGET/UDC ]] || modem out
  runs ModemManager && end_service ModemManager
  ip address flush dev eth0 2>/dev/null
}

audit() {
  is "no file is among the settings that is no key" "" "$(stray_settings)"
  rm -rf /var/lib/pelorus /run/pelorus /etc/pelorus /usr/apps "$POPUPS" /home/owner /opt/usr
  within 5 are_gone
  is "no process is left" "" "$(cat "$HERE/processes.left")"
  is "no file is left" "" "$(files | comm -13 "$HERE/files.before" -)"
  is "no sanitizer complained" "" "$(cat "$HERE"/sanitizer* 2>/dev/null)"
}

are_gone() {
  processes "$HERE/processes.after"
  comm -13 "$HERE/processes.before" "$HERE/processes.after" > "$HERE/processes.left"
  [[ ! -s $HERE/processes.left ]]
}

close_room() {
  trap '' EXIT TERM
  end_all > "$HERE/ending" 2>&1
  grep '^FAILED' -A 9 "$HERE/ending"
  audit
  local result=passed out=/out/$ROOM
  grep -q failed "$HERE/checks" && result=failed
  [[ -s $HERE/skipped ]] && result=skipped
  cp -r "$LOGS/." "$HOUSE"/*.log "$HERE"/*.conf "$out/" 2>/dev/null
  cp "$JOURNAL" "$out/" 2>/dev/null
  dmesg > "$out/kernel.log"
  echo "$result $(as_seconds $(($(now) - BEGAN)))" > "$out/result"
  rm -rf "$HERE"
  echo "== $ROOM $result"
}
