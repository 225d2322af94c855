# A Debian system of its own, booted with systemd in namespaces: what packages are tried on. For check, which
# has a mount namespace of its own, so that nothing of it outlives the caller.

# The parts of such a system that cost a download are kept.
readonly MACHINES=/var/cache/pelorus-dev/machines
readonly SUITE=bookworm

# Makes the system that packages are installed on, and one with what a porter has beside it.
make_machines() {
  mkdir -p "$MACHINES/archives/partial"
  if [[ ! -e $MACHINES/base.made ]]; then
    rm -rf "$MACHINES/base"
    mmdebstrap --quiet --variant=minbase --include=systemd,systemd-sysv,dbus,procps --skip=cleanup/apt/lists \
      "$SUITE" "$MACHINES/base"
    touch "$MACHINES/base.made"
  fi
  if [[ ! -e $MACHINES/porter.made || $MACHINES/base.made -nt $MACHINES/porter.made ]]; then
    rm -rf "$MACHINES/porter" "$MACHINES/work"
    mkdir -p "$MACHINES/porter" "$MACHINES/work"
    mount_machine "$ROOM/making" "$MACHINES/base" "$MACHINES/porter" "$MACHINES/work"
    install_in "$ROOM/making" g++ cmake ninja-build
    umount --recursive "$ROOM/making"
    touch "$MACHINES/porter.made"
  fi
}

# mount_machine ROOT LOWER UPPER WORK
mount_machine() {
  mkdir -p "$1" "$3" "$4"
  mount -t overlay overlay "$1" -o "lowerdir=$2,upperdir=$3,workdir=$4"
  mount --bind "$MACHINES/archives" "$1/var/cache/apt/archives"
  mount -t proc proc "$1/proc"
  mount -t sysfs sysfs "$1/sys"
  mount --rbind /dev "$1/dev"
}

# new_machine NAME LOWER: a fresh one; prints where its files are.
new_machine() {
  mount_machine "$ROOM/$1" "$2" "$ROOM/.$1/upper" "$ROOM/.$1/work" >&2
  echo "$ROOM/$1"
}

# install_in ROOT PACKAGE...: with the packages that were fetched before if there are any, else over the network.
install_in() {
  local root=$1
  shift
  local apt=(env DEBIAN_FRONTEND=noninteractive PATH=/usr/sbin:/usr/bin:/sbin:/bin
    apt-get -qq -y -o APT::Keep-Downloaded-Packages=true -o Dpkg::Options::=--force-unsafe-io)
  fetch() { cp /etc/resolv.conf "$root/etc/resolv.conf" && chroot "$root" "${apt[@]}" --download-only install "$@"; }
  fetch "$@" >/dev/null 2>&1 || { chroot "$root" "${apt[@]}" update && fetch "$@" >/dev/null; }
  chroot "$root" "${apt[@]}" install "$@" 2>&1
}

# boot ROOT: systemd as process 1 in namespaces; sets MACHINE to its process outside. The kernel's tree of
# control groups is there from a group of its own down.
boot() {
  local root=$1 groups=$ROOM/groups
  mkdir -p "$groups"
  mountpoint -q "$groups" || mount -t cgroup2 none "$groups"
  mkdir -p "$groups/pelorus-check-$$"
  (
    echo $BASHPID > "$groups/pelorus-check-$$/cgroup.procs"
    exec unshare --mount --pid --uts --ipc --net --cgroup --fork --kill-child \
      bash -c '
        set -e
        cd "$1"
        for place in proc sys dev; do umount --recursive "$1/$place"; done
        mount -t proc proc proc
        # The kernel is not its own.
        mount --bind proc/sys proc/sys
        mount -o remount,bind,ro proc/sys
        mount -t sysfs -o ro sysfs sys
        mount -t tmpfs -o mode=755 dev dev
        mkdir dev/pts dev/shm
        mount -t devpts -o newinstance,ptmxmode=666 pts dev/pts
        for device in null zero full random urandom tty; do
          touch dev/$device
          mount --bind /dev/$device dev/$device
        done
        ln -s pts/ptmx dev/ptmx
        ln -s /proc/self/fd dev/fd
        mount -t cgroup2 groups sys/fs/cgroup
        mount -t tmpfs -o mode=755 run run
        pivot_root . .
        umount -l .
        mount --make-rshared / # as systemd does where it thinks that it has a machine
        exec env -i container=pelorus-check PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd
      ' boot "$root"
  ) > "$ROOM/boot.log" 2>&1 < /dev/null &
  local outer=$! tries
  for ((tries = 0; tries < 300; ++tries)); do
    MACHINE=$(pgrep -P "$outer" || true)
    if [[ $MACHINE && -S /proc/$MACHINE/root/run/systemd/private ]] &&
      within systemctl is-system-running 2>/dev/null | grep -qE 'running|degraded'; then
      return 0
    fi
    sleep 0.1
  done
  cat "$ROOM/boot.log" >&2
  within systemctl list-jobs >&2 || true
  return 1
}

# within COMMAND...: in the machine that was booted.
within() {
  nsenter --target "$MACHINE" --mount --uts --ipc --net --pid --cgroup --root --wdns=/ \
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 "$@"
}

# halt: ends the machine and all in it.
halt() {
  local tries
  kill -s RTMIN+3 "$MACHINE" 2>/dev/null || true
  for ((tries = 0; tries < 100; ++tries)); do
    kill -0 "$MACHINE" 2>/dev/null || break
    sleep 0.1
  done
  kill -9 "$MACHINE" 2>/dev/null || true
  wait || true
  find "$ROOM/groups/pelorus-check-$$" -depth -type d -exec rmdir {} + 2>/dev/null || true
}
