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

# stick in|out
stick() {
  case $1 in
    in) qmp device_add '{"driver":"usb-storage","id":"stick","drive":"stick","removable":true,"serial":"SN0001"}' ;;
    out) qmp device_del '{"id":"stick"}' ;;
  esac > /dev/null
}
