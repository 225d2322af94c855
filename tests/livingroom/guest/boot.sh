#!/bin/bash
# Process 1 of the room: mounts what a machine has, runs what is asked for, and powers off.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 PAGER=cat PYTHONDONTWRITEBYTECODE=1
mount -t tmpfs run /run
mount -t tmpfs tmp /tmp
mount -t tmpfs tmp /var/tmp
mkdir -p /dev/pts /dev/shm /out /run/dbus /run/lock /run/room
mount -t devpts devpts /dev/pts
mount -t tmpfs shm /dev/shm
ln -sf /proc/self/fd /dev/fd
mount -t cgroup2 groups /sys/fs/cgroup
mount -t 9p -o trans=virtio,version=9p2000.L,cache=none out /out
hostname living-room
ip link set lo up
stty -F /dev/ttyS1 raw -echo 115200
stty -F /dev/ttyS2 raw -echo 115200
# The TV's places, of which nothing may come from the host.
for place in /home /opt /media /usr/apps /var/lib/pelorus /etc/pelorus; do
  rm -rf "$place"
  mkdir "$place"
done
# The host may have its own services; these are the room's.
rm -rf /etc/NetworkManager /var/lib/NetworkManager
mkdir -p /etc/NetworkManager /var/lib/NetworkManager

# The modem service is up in the rooms that start it, and does not come by itself because another asks for it.
rm -f /usr/share/dbus-1/system-services/org.freedesktop.ModemManager1.service

# shellcheck disable=SC1091 # written by run
source /out/.post/facts
export MODE ROOT BUILD LIVINGROOM
cd "$LIVINGROOM/guest" || exit
touch /out/.post/up
case $MODE in
  shell)
    stty sane -F /dev/console
    setsid -c bash shell.sh < /dev/console > /dev/console 2>&1
    ;;
  rooms)
    exec > /dev/ttyS2 2>&1
    while read -r room; do
      bash room.sh "$room" < /dev/null
    done < /out/.post/rooms
    ;;
esac
sync
echo o > /proc/sysrq-trigger
while :; do :; done # only what is in memory runs after this
