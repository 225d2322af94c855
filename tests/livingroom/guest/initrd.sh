#!/bin/busybox sh
# shellcheck shell=dash
# The first program of the room: the host's files, read-only, with the services laid over them and a layer in
# memory above, become the root.
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
for module in /modules/*; do insmod "$module" || echo "no $module"; done
share() { mount -t 9p -o "trans=virtio,version=9p2000.L,ro,msize=262144,cache=loose" "$1" "/$1" || echo "no $1"; }
share host
share layer
mount -t tmpfs room /room
mkdir /room/upper /room/work
mount -t overlay -o lowerdir=/layer:/host,upperdir=/room/upper,workdir=/room/work overlay /root || echo "no root"
for tree in proc sys dev; do mount --move "/$tree" "/root/$tree"; done
exec switch_root /root /bin/bash "$LIVINGROOM/guest/boot.sh"
