# Completion of pelorusctl for bash. Keys come from the program, so that they are those of the
# installed version and, for keys outside the catalogue, of this machine's store.

_pelorusctl_keys() {
  local options=()
  [[ -n $1 ]] && options=(--settings "$1")
  "${COMP_WORDS[0]}" "${options[@]}" list --names --all 2>/dev/null ||
    "${COMP_WORDS[0]}" list --names 2>/dev/null
}

_pelorusctl_tv() {
  local word=$1
  shift
  case "$#:$*" in
    0:) COMPREPLY=($(compgen -W "cable dongle telephony radio wifi internet player settings-app package speaker stick capture feature latency delay fail heal status calls play" -- "$word")) ;;
    1:cable) COMPREPLY=($(compgen -W "plug unplug state" -- "$word")) ;;
    1:stick) COMPREPLY=($(compgen -W "insert remove unmount" -- "$word")) ;;
    2:"stick insert" | 3:"stick insert "*) COMPREPLY=($(compgen -W "broken" -- "$word")) ;;
    1:capture) COMPREPLY=($(compgen -W "size end" -- "$word")) ;;
    1:dongle) COMPREPLY=($(compgen -W "insert remove" -- "$word")) ;;
    1:telephony) COMPREPLY=($(compgen -W "start stop" -- "$word")) ;;
    1:radio) COMPREPLY=($(compgen -W "add remove on off signal temper portal" -- "$word")) ;;
    3:"radio temper "*)
      COMPREPLY=($(compgen -W "accepts refuses silent answers-twice no-address" -- "$word"))
      ;;
    [4-9]:"radio add "* | 1[0-9]:"radio add "*)
      COMPREPLY=($(compgen -W "hidden off frequency= security= passphrase= rssi= bandwidth= mode= temper= ipv4= ipv6= portal=" -- "$word"))
      ;;
    3:"radio portal "*) COMPREPLY=($(compgen -W "none" -- "$word")) ;;
    1:wifi)
      COMPREPLY=($(compgen -W "join connect drop see-all save forget fail-next snr" -- "$word"))
      ;;
    [345]:"wifi save "*) COMPREPLY=($(compgen -W "security= passphrase= frequency=" -- "$word")) ;;
    3:"wifi connect "*) COMPREPLY=($(compgen -W "passphrase=" -- "$word")) ;;
    2:"wifi fail-next")
      COMPREPLY=($(compgen -W "scan channel-scan name-scan connect disconnect portal" -- "$word"))
      ;;
    1:internet) COMPREPLY=($(compgen -W "gateway dns http report hotspot lease addresses" -- "$word")) ;;
    2:"internet addresses") COMPREPLY=($(compgen -W "cable dongle" -- "$word")) ;;
    [34]:"internet addresses "*) COMPREPLY=($(compgen -W "ipv4= ipv6=" -- "$word")) ;;
    2:"internet gateway" | 2:"internet dns" | 2:"internet http")
      COMPREPLY=($(compgen -W "on off" -- "$word"))
      ;;
    2:"internet report") COMPREPLY=($(compgen -W "PHY GATEWAY DNS HTTP" -- "$word")) ;;
    1:player) COMPREPLY=($(compgen -W "buffering lowres interference rssi linkspeed" -- "$word")) ;;
    1:settings-app)
      COMPREPLY=($(compgen -W "open close ask stop confirm decline answer connect forget reset" -- "$word"))
      ;;
    2:"settings-app answer") COMPREPLY=($(compgen -W "confirm decline none" -- "$word")) ;;
    1:package) COMPREPLY=($(compgen -W "install remove" -- "$word")) ;;
    2:"package "*) COMPREPLY=($(compgen -W "org.orvik.browser" -- "$word")) ;;
    1:latency | 1:delay)
      COMPREPLY=($(compgen -W "cable dongle report scan channel-scan look connect address disconnect wifi-state portal profile stick" -- "$word"))
      ;;
    1:feature) COMPREPLY=($(compgen -W "set" -- "$word")) ;;
    1:play) COMPREPLY=($(compgen -f -- "$word")) ;;
    3:fail*) COMPREPLY=($(compgen -W "--times" -- "$word")) ;;
  esac
}

_pelorusctl() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $previous in
    --settings)
      COMPREPLY=($(compgen -d -- "$word"))
      return
      ;;
    --type)
      COMPREPLY=($(compgen -W "int bool string" -- "$word"))
      return
      ;;
    --journal)
      COMPREPLY=($(compgen -f -- "$word"))
      return
      ;;
    --event)
      COMPREPLY=($(compgen -W "EV001 EV002 EV004 EV005 EV006 EV008 EV009 EV011" -- "$word"))
      return
      ;;
    --count | --times | --speed | --last | --wait) return ;;
  esac

  # The words before the cursor that are neither options nor values of options.
  local words=() settings="" i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case ${COMP_WORDS[i]} in
      --settings)
        ((++i))
        settings=${COMP_WORDS[i]}
        ;;
      --type | --count | --times | --wait | --event | --last | --journal) ((++i)) ;;
      -*) ;;
      *) words+=("${COMP_WORDS[i]}") ;;
    esac
  done
  local command=${words[0]-}

  if [[ $word == -* ]]; then
    local options="--help --settings"
    case $command in
      "") options+=" --version" ;;
      get) options+=" --raw --json" ;;
      set) options+=" --type" ;;
      list) options+=" --all --json --names" ;;
      watch) options+=" --count --json" ;;
      kpi)
        case ${words[1]-} in
          list) options+=" --event --last --journal --json" ;;
          follow) options+=" --event --last --journal --count --json" ;;
        esac
        ;;
      status) options+=" --json" ;;
      saved)
        case ${words[1]-} in
          list) options+=" --json" ;;
          connect) options+=" --force --wait" ;;
          forget | reset) options+=" --wait" ;;
        esac
        ;;
      capture)
        case ${words[1]-} in
          start | stop) options+=" --wait" ;;
          status) options+=" --json" ;;
        esac
        ;;
      tv)
        case ${words[1]-} in
          fail) options+=" --times" ;;
          status | calls) options+=" --json" ;;
          play) options+=" --speed" ;;
        esac
        ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$word"))
    return
  fi

  case $command:${#words[@]} in
    :0) COMPREPLY=($(compgen -W "get set list watch status saved capture kpi tv" -- "$word")) ;;
    get:1 | set:1 | list:1 | watch:*)
      COMPREPLY=($(compgen -W "$(_pelorusctl_keys "$settings")" -- "$word"))
      ;;
    saved:1) COMPREPLY=($(compgen -W "list connect forget reset" -- "$word")) ;;
    capture:1) COMPREPLY=($(compgen -W "start stop status" -- "$word")) ;;
    kpi:1) COMPREPLY=($(compgen -W "list follow" -- "$word")) ;;
    tv:*) _pelorusctl_tv "$word" "${words[@]:1}" ;;
  esac
}

complete -F _pelorusctl pelorusctl
