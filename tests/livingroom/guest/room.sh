#!/bin/bash
# room.sh NAME | room.sh SCRIPT: one room, from nothing to the audit after it. Its result is in
# /out/NAME/result, its checks are on standard output, and all else is in files beside the result.
# shellcheck disable=SC1090,SC1091 # read by themselves
readonly ROOM_LIMIT=300 # seconds
if [[ ${2-} != --inside ]]; then
  # A room that hangs is ended, and looked over like any other.
  timeout --kill-after=20 "$ROOM_LIMIT" bash "$0" "$1" --inside
  exit
fi

mkdir -p /run/room/logs
source "$LIVINGROOM/guest/library.sh"
source "$LIVINGROOM/guest/audit.sh"
ROOM=$(basename "$1")
readonly ROOM
trap 'close_room' EXIT
trap 'failed "the room ends within $ROOM_LIMIT s" "" ""; exit 1' TERM
echo "== $ROOM"
remember_machine
if [[ $1 == /* ]]; then
  network_manager
  two_bands
  bash "$LIVINGROOM/guest/script.sh" "$1"
  status=$?
  is "the script ends well" 0 $status
else
  source "$LIVINGROOM/$1/room.sh"
fi
