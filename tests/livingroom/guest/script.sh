#!/bin/bash
# script.sh SCRIPT: runs a script of whoever tries something, in a room that is furnished: NetworkManager, the
# access points "slow" (HomeNet, 2.4 GHz) and "fast" (HomeNet, 5 GHz) with the key secret123, and addresses. The script has all
# functions of the library. What is left in /run/room/logs is kept in build/livingroom/.
# shellcheck disable=SC1090,SC1091 # read by themselves
source "$LIVINGROOM/guest/library.sh"
source "/out/.post/$(basename "$1")"
