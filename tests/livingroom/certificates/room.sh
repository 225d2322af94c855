# An enterprise network lets the TV in by its certificate. A new one is installed, copied and used, and the access
# point sees it.

readonly KEYS=$HERE/keys CERTIFICATES=/home/owner/share/connmancertpath

# authority NAME
authority() {
  openssl req -x509 -newkey rsa:2048 -nodes -keyout "$KEYS/$1.key" -out "$KEYS/$1.pem" -days 3650 -subj "/CN=$1"
}

# certificate NAME AUTHORITY
certificate() {
  openssl req -newkey rsa:2048 -nodes -keyout "$KEYS/$1.key" -out "$KEYS/$1.csr" -subj "/CN=$1" &&
    openssl x509 -req -in "$KEYS/$1.csr" -CA "$KEYS/$2.pem" -CAkey "$KEYS/$2.key" -CAcreateserial -out "$KEYS/$1.pem" -days 365
}

# install_certificates CLIENT: as the settings application does.
install_certificates() {
  cp "$KEYS/company.pem" /home/owner/share/Root/company.pem
  cp "$KEYS/$1.pem" /home/owner/share/Client/client.pem
  cat "$KEYS/$1.key" > /home/owner/share/Client/key.pem
  key_set db/menu/network/eap_certificate_status installed
}

network_manager
radios
mkdir -p "$KEYS"
for name in company subsidiary; do authority $name; done > "$HERE/said" 2>&1
for name in server:company tv-old:company tv-new:subsidiary; do certificate ${name/:/ }; done > "$HERE/said" 2>&1
is "there are certificates" 3 "$(cat "$KEYS"/{server,tv-old,tv-new}.pem | grep -c BEGIN)"
cat "$KEYS/company.pem" "$KEYS/subsidiary.pem" > "$KEYS/both.pem"
echo '* TLS' > "$HERE/users"
access_point office wlan2 Office "$FAST" a 36 wpa=2 wpa_key_mgmt=WPA-EAP rsn_pairwise=CCMP ieee8021x=1 eap_server=1 \
  "eap_user_file=$HERE/users" "ca_cert=$KEYS/both.pem" "server_cert=$KEYS/server.pem" "private_key=$KEYS/server.key"
addresses
start_daemon

install_certificates tv-old
soon 10 "the first certificates are copied" test -s "$CERTIFICATES/key.pem"
nmcli connection add type wifi con-name office ifname wlan0 ssid Office wifi-sec.key-mgmt wpa-eap 802-1x.eap tls \
  802-1x.identity tv 802-1x.ca-cert "$CERTIFICATES/company.pem" 802-1x.client-cert "$CERTIFICATES/client.pem" \
  802-1x.private-key "$CERTIFICATES/key.pem" 802-1x.private-key-password-flags 4 > "$HERE/said"
soon 60 "the TV is let in" nmcli --wait 50 connection up office
soon 5 "the access point has it" has_tv office
is "by the first certificate" yes "$(heard_by office /CN=tv-old && echo yes)"
soon 20 "the TV's network is Wi-Fi" key_is db/menu/network/network_type Wireless

install_certificates tv-new
soon 60 "it leaves and joins anew" logged "{EAP} result =>>1"
soon 5 "the access point has it" has_tv office
is "by the new certificate" yes "$(heard_by office /CN=tv-new && echo yes)"
soon 10 "frames pass" frames_pass wlan0

authority stranger > "$HERE/said" 2>&1
certificate stranger-tv stranger > "$HERE/said" 2>&1
install_certificates stranger-tv
soon 90 "one of a stranger is turned down, and that is the end of it" logged "{EAP} result =>>0"
is "the TV is not let in" "" "$(has_tv office && echo has)"
