# The daemon in its room: its settings, its records, its log and its popups.

readonly SETTINGS=(/var/lib/pelorus/settings /run/pelorus/settings)
readonly JOURNAL=/var/lib/pelorus/kpi/journal.jsonl
readonly DAEMON_LOG=$LOGS/pelorus.log
readonly POPUPS=/run/popups
readonly CTL=$BUILD/pelorusctl

# install_tv: the TV's places, with a recorder where the notification program belongs.
install_tv() {
  mkdir -p /home/owner/share/{Root,Client} /opt/usr/data /usr/apps/org.orvik.Pelorus/bin /etc/pelorus
  cp "$BUILD/tests/support/popup_recorder" /usr/apps/org.orvik.Pelorus/bin/pelorus_notification
  cp "$ROOT/packaging/system-info/tv.conf" /etc/pelorus/system-info.conf
}

# start_daemon: returns when its start sequence is done, of which a key is the last step.
start_daemon() {
  install_tv
  key_set db/menu/network/networkapp_status 1
  ASAN_OPTIONS=log_path=$HERE/sanitizer UBSAN_OPTIONS=log_path=$HERE/sanitizer:print_stacktrace=1 \
    G_DEBUG=fatal-criticals "$BUILD/pelorus" >> "$DAEMON_LOG" 2>&1 &
  DAEMON=$!
  echo "$DAEMON" > "$HERE/daemon.pid"
  soon 30 "the daemon is up" key_is db/menu/network/networkapp_status 0
}

daemon_runs() { kill -0 "$DAEMON"; }
# daemon_holds_under KILOBYTES: of memory; what it shares with others counts in part (PSS).
daemon_holds_under() { awk -v limit="$1" '/^Pss:/ { print; exit $2 >= limit }' "/proc/$DAEMON/smaps_rollup"; }

# stop_daemon: tells how it ended when that was not by our signal.
stop_daemon() {
  [[ -n ${DAEMON-} ]] || return 0
  local status=0
  kill "$DAEMON" 2>/dev/null
  wait "$DAEMON" || status=$?
  unset DAEMON
  case $status in
    0 | 143) ;;
    *) failed "the daemon ends when it is asked to" "0 or 143" "exit status $status" ;;
  esac
}

# Every file in the settings that is no key of the catalogue.
stray_settings() {
  local directory
  [[ -e ${SETTINGS[0]} ]] || return 0
  for directory in "${SETTINGS[@]}"; do
    (cd "$directory" 2>/dev/null && find db memory -type f 2>/dev/null)
  done | sort > "$HERE/files"
  "$CTL" list --names --all | sort | comm -23 "$HERE/files" - | grep -v '/\.[^/]*\.[0-9]*$'
}

key() { "$CTL" get --raw "$1" 2>/dev/null; }
key_set() { "$CTL" set "$@"; }
key_is() { equals "$2" key "$1"; }
# key_has KEY TEXT
key_has() { key "$1" | tee "$HERE/key" | grep -qF -- "$2" || { cat "$HERE/key"; return 1; }; }

# watch_keys KEY...: every write of them from now on, in logs/keys.log, with the time.
watch_keys() {
  mkdir -p "${SETTINGS[@]}"
  "$CTL" watch "$@" >> "$LOGS/keys.log" 2>&1 &
  echo $! >> "$HERE/own"
}

# writes KEY VALUE: how often that was written since watch_keys.
writes() { grep -F -- "$1" "$LOGS/keys.log" | grep -cF -- "$2"; }

# logged TEXT [TIMES]: in the daemon's log, so many times or at least once.
logged() {
  local count
  count=$(grep -cF -- "$1" "$DAEMON_LOG")
  if [[ -n ${2-} ]]; then ((count == $2)) && return; else ((count > 0)) && return; fi
  echo "$count times in the log: $1"
  return 1
}

# The keywords of the notification programs that were started, in order.
popups() { [[ ! -e $POPUPS ]] || cut -f4 "$POPUPS" | paste -sd' '; }

# dismiss: ends the popup that is up, as a viewer does, and waits until the daemon has reaped it.
dismiss() {
  local pid
  pid=$(tail -n 1 "$POPUPS" | cut -f1)
  kill "$pid" && within 5 not kill -0 "$pid"
}

# records EVENT: the KPI records of an event, one a line.
records() { grep -F "\"$1\"" "$JOURNAL" 2>/dev/null; }

# consent: the user agrees to measurements.
consent() { key_set db/menu/marquee/homedatacontrol/defaultdisclaimeragree 1; }

# has_record EVENT TEXT...: one record of the event that has all the texts.
has_record() {
  local event=$1 text found
  found=$(records "$event")
  shift
  for text in "$@"; do found=$(grep -F -- "$text" <<< "$found"); done
  [[ -n $found ]] || { echo "no $event with $*:"; cat "$JOURNAL"; return 1; }
}

# The names in the list of saved networks, in its order.
saved_names() { key db/menu/network/SavedAPList | grep -o '"SSID" : "[^"]*"' | cut -d'"' -f4 | paste -sd' '; }

# ask_for_fast: what the settings application writes.
ask_for_fast() { key_set db/menu/network/launchNS START5GHZCONNECTION; }
