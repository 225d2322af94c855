#!/bin/bash
# shell.sh: a shell in a room that is furnished as for a script, on the machine's console.
# shellcheck disable=SC1090,SC1091 # read by themselves
mkdir -p /run/room/logs
source "$LIVINGROOM/guest/library.sh"
network_manager
two_bands
echo "The TV is wlan0 and eth0; the router is in the namespace \"router\"; logs are in $LOGS and $HOUSE."
echo "start_daemon starts the daemon; the functions of tests/livingroom/guest/ are there."
cat > /run/room/rc <<'RC'
source "$LIVINGROOM/guest/library.sh"
export TERM=linux PS1='living-room:\w# '
RC
exec bash --rcfile /run/room/rc -i
