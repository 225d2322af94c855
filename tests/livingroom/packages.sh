# What a living room has and a developer's machine need not: services that manage networks, and a kernel with
# simulated radios. Debian's packages of them are downloaded and unpacked, never installed, because installing
# starts them. For run, which says what ROOMS_CACHE is.

readonly SERVICES=(network-manager wpasupplicant hostapd dnsmasq-base iw iputils-ping wireless-regdb udev udisks2 dosfstools modemmanager)
# Modules that the first steps of the boot need, before the host's files are there.
readonly BOOT_MODULES=(virtio_pci 9pnet_virtio 9p overlay)

# make_machine: sets MACHINE to a directory with layer/ (to be laid over the host's files), vmlinuz and initrd,
# made when a package has another version than the last time.
make_machine() {
  local kernel key
  kernel=$(kernel_package) || return
  # apt tells the versions of what would be installed, which is what the host lacks.
  key=$({ wanted && apt-cache policy "$kernel" && cat "$HERE/packages.sh" "$HERE/guest/initrd.sh"; } | sha256sum | cut -c1-16)
  MACHINE=$ROOMS_CACHE/$key
  [[ ! -e $MACHINE/made ]] || return 0
  say "downloading a kernel and the services of a living room (once)"
  find "$ROOMS_CACHE" -mindepth 1 -maxdepth 1 ! -name archives -exec rm -rf {} + 2>/dev/null
  mkdir -p "$ROOMS_CACHE/archives/partial" "$MACHINE/layer"
  fetch "$kernel" || { apt-get update -qq && fetch "$kernel"; } || return
  unpack
  local version=${kernel#linux-image-}
  version=${version%-unsigned}
  depmod -b "$MACHINE/layer" "$version" || return
  cp "$MACHINE/layer/boot/vmlinuz-$version" "$MACHINE/vmlinuz" || return
  rm -rf "$MACHINE/layer/boot"
  make_initrd "$version" && touch "$MACHINE/made"
}

kernel_package() { apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-.*\)$/\1/p' | head -1; }

wanted() { apt-get install --simulate --no-install-recommends "${SERVICES[@]}" | sed -n 's/^Inst //p'; }

fetch() {
  local options=(-qq -o "Dir::Cache::archives=$ROOMS_CACHE/archives" -o Debug::NoLocking=1 -o APT::Sandbox::User=root)
  rm -f "$ROOMS_CACHE"/archives/*.deb
  apt-get "${options[@]}" install --download-only -y --no-install-recommends "${SERVICES[@]}" >/dev/null &&
    (cd "$ROOMS_CACHE/archives" && apt-get "${options[@]}" download "$1")
}

# Debian's own links from /lib to /usr/lib are not to be replaced by directories.
unpack() {
  local place package
  for place in bin sbin lib lib64; do
    mkdir -p "$MACHINE/layer/usr/$place"
    ln -s "usr/$place" "$MACHINE/layer/$place"
  done
  for package in "$ROOMS_CACHE"/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$MACHINE/layer" || return
  done
  rm -f "$ROOMS_CACHE"/archives/*.deb
  # What wireless-regdb does when it is installed.
  for place in regulatory.db regulatory.db.p7s; do
    ln -sf "$place-debian" "$MACHINE/layer/usr/lib/firmware/$place"
  done
}

make_initrd() {
  local tree=$MACHINE/initrd.tree module count=0
  mkdir -p "$tree"/{bin,modules,proc,sys,dev,host,layer,room,root}
  cp "$(command -v busybox)" "$tree/bin/busybox"
  cp "$HERE/guest/initrd.sh" "$tree/init"
  chmod +x "$tree/init"
  for module in "${BOOT_MODULES[@]}"; do
    modprobe -d "$MACHINE/layer" -S "$1" --show-depends "$module" || return
  done | awk '$1 == "insmod" && !seen[$2]++ { print $2 }' > "$tree/order"
  while read -r module; do
    count=$((count + 1))
    cp "$module" "$tree/modules/$(printf %02d $count)-${module##*/}"
  done < "$tree/order"
  (cd "$tree" && find . | cpio -o -H newc --quiet | gzip) > "$MACHINE/initrd" && rm -rf "$tree"
}
