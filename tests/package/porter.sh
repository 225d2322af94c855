# What a porter does: the platform to begin with, built with nothing but its package, and run.

porter() {
  local root
  root=$(new_machine porting "$MACHINES/porter:$MACHINES/base")
  mkdir -p "$root/packages"
  cp "$PACKAGES"/libpelorus-platform-dev_*.deb "$root/packages/porting.deb"
  expect "a porter installs one package" install_in "$root" /packages/porting.deb
  expect "the platform to begin with is configured" chroot "$root" \
    cmake -G Ninja -S /usr/share/doc/libpelorus-platform-dev/examples/skeleton -B /tmp/port
  expect "and built" chroot "$root" cmake --build /tmp/port
  mkdir -p "$root"/run/pelorus
  timeout --preserve-status 2 unshare --net chroot "$root" \
    env PELORUS_SETTINGS_DIR=/tmp/settings /tmp/port/pelorus-mytv > "$ROOM/port.log" 2>&1 || true
  expect "the daemon starts on it" grep -q 'On Pelorus Init' "$ROOM/port.log"
  expect "with the network-setup library and all its steps" \
    test -e "$root/tmp/settings/db/menu/network/networkapp_status"
  chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y purge libpelorus-platform-dev > /dev/null
  expect "nothing of the package stays" chroot "$root" sh -c '! find /usr -ipath "*pelorus*" | grep .'
}
