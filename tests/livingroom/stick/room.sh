# The service captures packets, and takes them along on a stick that he plugs in meanwhile. Each frame that the
# router heard is in the file.

disks
router
ip address add 192.168.77.60/24 dev eth0
ip link set eth0 up
soon 10 "frames pass over the cable" frames_pass eth0
receive_frames
start_daemon
key_set memory/Pelorus/start_stop_TCPDump 1
soon 10 "the capture is announced" equals StartTCPDump popups
is "and noted" 1 "$(key memory/Pelorus/tcpdump_running_status)"
dismiss

send_frames 500
stick in
soon 20 "the stick is there" test -e /dev/sda1
send_frames 1000
soon 10 "the router heard them all" sh -c "grep -q frame-1000 $HERE/heard"
is "one by one" "$(seq -f 'frame-%g' 1000)" "$(frames_in < "$HERE/heard")"

key_set memory/Pelorus/start_stop_TCPDump 0
soon 20 "the end is announced" equals "StartTCPDump StopTCPDump" popups
is "and noted" 0 "$(key memory/Pelorus/tcpdump_running_status)"
file="$(findmnt -nro TARGET -S /dev/sda1)/tcpdump-[time].pcap"
is "the file is on the stick" yes "$([[ -s $file ]] && echo yes)"
is "it is the TV's own" "" "$(cmp "$file" '/opt/usr/data/network/tcpdump-[time].pcap' 2>&1)"
tcpdump -r "$file" -A -n 'udp dst port 9999' > "$LOGS/capture.txt" 2> "$HERE/said"
is "it has what the router heard" "$(frames_in < "$HERE/heard")" "$(frames_in < "$LOGS/capture.txt")"
is "each packet of it" 1500 "$(grep -c '> 192.168.77.1.9999' "$LOGS/capture.txt")"

stick out
soon 10 "the stick is gone" not test -e /dev/sda
soon 10 "and its place" not findmnt -S /dev/sda1
