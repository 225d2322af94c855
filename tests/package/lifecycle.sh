# What becomes of a system on which the packages come and go.

# What a system keeps of any package, and what is made anew at any time.
readonly NOT_OURS='^(/proc|/sys|/dev|/run|/tmp|/var/tmp|/var/log|/var/cache|/var/lib/(apt|dpkg|systemd|dbus|ucf)|/packages)(/|$)'

# Every file of the machine, without what its packages own.
files_of_nobody() {
  within sh -c 'find / -xdev -print | sort > /tmp/found
    cat /var/lib/dpkg/info/*.list | sort -u > /tmp/owned
    comm -23 /tmp/found /tmp/owned'  | grep -vE "$NOT_OURS"
}

apt() { within apt-get -qq -y -o Dpkg::Options::=--force-unsafe-io "$@" 2>&1; }

# The same packages under a version that is higher by a little.
make_newer() {
  local package
  mkdir -p "$ROOM/newer"
  for package in "$@"; do
    dpkg-deb -R "$package" "$ROOM/newer/tree"
    sed -i -E 's/^Version: .*/&.newer/; s/(\(= [^)]*)\)/\1.newer)/' "$ROOM/newer/tree/DEBIAN/control"
    dpkg-deb -b --root-owner-group -Znone "$ROOM/newer/tree" "$ROOM/newer/$(basename "$package")" > /dev/null
    rm -rf "$ROOM/newer/tree"
  done
}

is_state() { [[ $(within systemctl is-active pelorus) == "$1" ]]; }

main_pid() { within systemctl show --value --property MainPID pelorus; }

lifecycle() {
  local root all pid unit beside=(libpcap0.8 libpulse-mainloop-glib0 logrotate network-manager polkitd wpasupplicant)
  root=$(new_machine one "$MACHINES/base")
  all=()
  for package in pelorus pelorus-notification pelorusctl pelorus-virtual; do
    all+=("$PACKAGES/${package}"_[0-9]*.deb)
  done
  make_newer "${all[@]}"
  mkdir -p "$root/packages/newer"
  cp "${all[@]}" "$root/packages/"
  cp "$ROOM"/newer/*.deb "$root/packages/newer/"
  all=("${all[@]##*/}")
  all=("${all[@]/#//packages/}")
  # What else is needed is fetched while there is a network; the machine that is booted has one of its own.
  install_in "$root" --download-only --no-install-recommends "${all[@]}" "${beside[@]}" > /dev/null

  # What manages networks is asked for its rules alone.
  for unit in NetworkManager NetworkManager-wait-online NetworkManager-dispatcher wpa_supplicant; do
    ln -s /dev/null "$root/etc/systemd/system/$unit.service"
  done

  boot "$root"
  for user in reader writer stranger; do within useradd --no-create-home "$user"; done
  apt --no-install-recommends install "${beside[@]}" > /dev/null
  files_of_nobody > "$ROOM/before"
  expect "all packages are installed side by side" apt --no-install-recommends install "${all[@]}"
  expect "pelorusctl tells its version" within pelorusctl --version
  service
  virtual_tv

  within systemctl start pelorus
  pid=$(main_pid)
  within runuser -u writer -- pelorusctl set db/menu/network/tethering_status 7
  expect "they are installed anew" apt --reinstall install "${all[@]}"
  expect "the daemon runs again after that" soon is_state active
  pid=$(main_pid)
  expect "they are upgraded" apt install "${all[@]/#\/packages//packages/newer}"
  expect "another daemon runs after that" soon is_another_daemon "$pid"
  expect "a setting outlives the upgrade" has_setting db/menu/network/tethering_status 7

  expect "the daemon is removed" apt remove pelorus
  expect "it does not run any more" not within pgrep -x pelorus
  expect "settings outlive its removal" within test -s /var/lib/pelorus/settings/db/menu/network/tethering_status
  expect "it is installed again" apt install "/packages/newer/$(basename "${all[0]}")"
  expect "and has its settings" has_setting db/menu/network/tethering_status 7
  expect "all are purged" apt purge pelorus pelorus-notification pelorusctl pelorus-virtual
  within rm -r /etc/pelorus # which the administrator made
  within rm -f /var/lib/logrotate/status # which it noted when it ran
  files_of_nobody > "$ROOM/after"
  expect "no file is left" diff "$ROOM/before" "$ROOM/after"
  halt
}

is_another_daemon() { is_state active && [[ $(main_pid) != "$1" && $(main_pid) != 0 ]]; }

has_setting() { [[ $(within runuser -u writer -- pelorusctl get "$1") == "$2" ]]; }
