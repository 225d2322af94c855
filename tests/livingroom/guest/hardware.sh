# The machine's own hardware, as hands plug and pull it.

# qmp COMMAND [ARGUMENTS]: as JSON, to the program that this machine runs in; prints its answer.
qmp() {
  local answer line
  exec {line}<> /dev/ttyS1
  echo "{\"execute\":\"$1\"${2:+,\"arguments\":$2}}" >&$line
  read -r -t 20 -u $line answer
  exec {line}>&-
  echo "$answer"
  [[ $answer == '{"return"'* ]]
}

# cable in|out: the TV's, at the socket of its own network card.
cable() {
  local up=false
  [[ $1 != in ]] || up=true
  qmp set_link "{\"name\":\"cable\",\"up\":$up}" > /dev/null
}

# disks: what it takes to see a stick, and one that is empty.
disks() {
  base_services
  modprobe -a xhci-pci usb-storage sd_mod vfat nls_cp437 nls_ascii nls_utf8
  runs udisks || house udisks /usr/libexec/udisks2/udisksd
  soon 20 "the disk service is up" busctl --system status org.freedesktop.UDisks2
  echo ',,c' | sfdisk -q /out/.post/stick.img
  mkfs.vfat -n STICK --offset 2048 /out/.post/stick.img > /dev/null
}

# stick in|out
stick() {
  case $1 in
    in) qmp device_add '{"driver":"usb-storage","id":"stick","drive":"stick","removable":true,"serial":"SN0001"}' ;;
    out) qmp device_del '{"id":"stick"}' ;;
  esac > /dev/null
}

readonly GADGET=/sys/kernel/config/usb_gadget/modem

# modems: the service for them, and a modem in a drawer.
modems() {
  base_services
  modprobe -a libcomposite dummy_hcd usb_f_acm cdc_acm
  [[ -e /sys/kernel/config/usb_gadget ]] || mount -t configfs none /sys/kernel/config
  # The vendor of gadgets is none that the service knows modems of.
  echo 'ATTRS{idVendor}=="1d6b", ATTRS{idProduct}=="0104", ENV{ID_MM_DEVICE_PROCESS}="1"' > /run/udev/rules.d/99-modem.rules
  udevadm control --reload
  runs ModemManager || house ModemManager ModemManager --debug
  soon 20 "the modem service is up" busctl --system status org.freedesktop.ModemManager1
  [[ -e $GADGET ]] && return
  mkdir -p $GADGET/strings/0x409 $GADGET/configs/c.1 $GADGET/functions/acm.usb0
  echo 0x1d6b > $GADGET/idVendor
  echo 0x0104 > $GADGET/idProduct
  echo Acme > $GADGET/strings/0x409/manufacturer
  echo Dongle-1 > $GADGET/strings/0x409/product
  ln -s $GADGET/functions/acm.usb0 $GADGET/configs/c.1/
}

# modem in|out
modem() {
  case $1 in
    in)
      python3 "$LIVINGROOM/guest/at_modem.py" /dev/ttyGS0 >> "$LOGS/at.log" 2>&1 &
      echo $! > "$HERE/at_modem.pid"
      echo dummy_udc.0 > $GADGET/UDC
      ;;
    out)
      echo > $GADGET/UDC
      kill "$(cat "$HERE/at_modem.pid")" 2>/dev/null
      rm -f "$HERE/at_modem.pid"
      ;;
  esac
}
