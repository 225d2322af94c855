# What every room uses: to tell what is expected, to wait for it, and to look at it. For bash, inside the machine.
set -u

readonly HERE=/run/room # what this room has, gone at its end
readonly LOGS=$HERE/logs

source "$LIVINGROOM/guest/services.sh"
source "$LIVINGROOM/guest/radios.sh"
source "$LIVINGROOM/guest/hardware.sh"
source "$LIVINGROOM/guest/tv.sh"

# Seconds since the boot, in hundredths.
now() {
  local up
  read -r up _ < /proc/uptime
  echo "${up/./}"
}

as_seconds() { printf '%d.%02d' $(($1 / 100)) $(($1 % 100)); }

say() { echo "        $*"; }

ok() {
  echo ok >> "$HERE/checks"
  echo "ok      $1"
}

# failed SENTENCE EXPECTED SEEN
failed() {
  echo failed >> "$HERE/checks"
  echo "FAILED  $1"
  [[ -z ${2-} ]] || sed 's/^/        expected: /' <<< "$2"
  sed 's/^/        seen:     /' <<< "${3-}" | tail -25
}

# is SENTENCE EXPECTED SEEN
is() {
  if [[ $3 == "$2" ]]; then
    ok "$1"
  else
    failed "$@"
  fi
}

# A short wait without a process: this machine is slow at making them.
exec {nothing}<> <(:)
pause() { read -rt "$1" -u "$nothing" || true; }

# within SECONDS COMMAND...: until the command succeeds; what it said last is in $HERE/said. Sets TOOK.
within() {
  local limit=$(($1 * 100)) began
  began=$(now)
  shift
  until "$@" > "$HERE/said" 2>&1; do
    (($(now) - began < limit)) || return 1
    pause 0.1
  done
  TOOK=$(as_seconds $(($(now) - began)))
}

# soon SECONDS SENTENCE COMMAND...: what does not come ends the room, because what follows rests on it.
soon() {
  if within "$1" "${@:3}"; then
    ok "$2 ($TOOK s)"
  else
    failed "$2" "within $1 s: ${*:3}" "$(cat "$HERE/said")"
    exit 1
  fi
}

# holds SECONDS SENTENCE COMMAND...: succeeds all the time.
holds() {
  local end=$(($(now) + $1 * 100))
  while "${@:3}" > "$HERE/said" 2>&1; do
    if (($(now) >= end)); then
      ok "$2"
      return
    fi
    pause 0.1
  done
  failed "$2" "for $1 s: ${*:3}" "$(cat "$HERE/said")"
}

# equals EXPECTED COMMAND...: for soon and holds; says what there is instead.
equals() {
  local seen
  seen=$("${@:2}")
  [[ $seen == "$1" ]] || { echo "${*:2}: $seen, not $1"; return 1; }
}

not() { ! "$@"; }
