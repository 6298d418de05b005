# Completion in bash for kiv, kivagent, kivcat and kivcts.
#
# Options are read from each program's own --help, commands from the catalogue that the line names
# (or the shipped one), so nothing here has to follow them.

_kiv_options() { # PROGRAM
  "$1" --help 2>/dev/null | sed 's/sh -c//' | grep -oE '(^|[][ ,])-{1,2}[a-z][a-z-]*' | tr -d '][ ,' |
    sort -u
}

_kiv_files() { # WORD
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_kiv_folders() { # WORD
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$1")
}

_kiv_words() { # WORD CHOICE...
  local word=$1
  shift
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word")
}

# The catalogue that the line names with --catalogue, or the one beside the program.
_kiv_catalogue() {
  local index program
  for ((index = 1; index + 1 < COMP_CWORD; index++)); do
    [ "${COMP_WORDS[index]}" = --catalogue ] && { printf '%s' "${COMP_WORDS[index + 1]}"; return; }
  done
  program=$(command -v kivcat) || return
  printf '%s' "${KIV_CATALOGUE:-$(dirname "$program")/../share/kiv/board.kcat}"
}

# Names of the commands of a catalogue: the second column of a list that begins with an id.
_kiv_commands() { # CATALOGUE
  kivcat show "$1" 2>/dev/null | awk '$1 ~ /^0x/ { print $2 }'
}

_kiv_endpoint() { # WORD
  # What stands before a colon is a word of its own where colons break words.
  compopt -o nospace 2>/dev/null
  _kiv_words "$1" exec: unix: tcp: serial:
}

_kiv() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    -c | --command) _kiv_words "$word" "$(_kiv_commands "$(_kiv_catalogue)")" help ldnv ;;
    -f | --file | --catalogue | :) _kiv_files "$word" ;;
    --config-dir) _kiv_folders "$word" ;;
    -l | --link) _kiv_endpoint "$word" ;;
    --color) _kiv_words "$word" auto always never ;;
    -w | --wait | --settle | --variant | --product) ;;
    *) _kiv_words "$word" "$(_kiv_options kiv)" ;;
  esac
}

_kivagent() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    --unix | --token-file | --serial | --at | --hci | --shell-program | :) _kiv_files "$word" ;;
    --data | --load) _kiv_folders "$word" ;;
    --shell) _kiv_words "$word" off full list: ;;
    --tcp | --name | --variant | --product | --load-limit | --shell-limits) ;;
    *) _kiv_words "$word" "$(_kiv_options kivagent)" ;;
  esac
}

_kivcat() {
  local word=${COMP_WORDS[COMP_CWORD]} verb=${COMP_WORDS[1]}
  COMPREPLY=()
  if [ "$COMP_CWORD" = 1 ]; then
    _kiv_words "$word" build check diff show header encode decode --help --version
    return
  fi
  case $word in
    -*) _kiv_words "$word" "$(_kiv_options kivcat)"; return ;;
  esac
  # Behind the catalogue stands a command.
  local index place=0
  for ((index = 2; index < COMP_CWORD; index++)); do
    [ "${COMP_WORDS[index]}" = -o ] && { index=$((index + 1)); continue; }
    [[ ${COMP_WORDS[index]} == -* ]] || place=$((place + 1))
  done
  case $verb:$place in
    show:1 | encode:1 | decode:1)
      _kiv_words "$word" "$(_kiv_commands "${COMP_WORDS[index - 1]}")" ;;
    decode:2) _kiv_words "$word" cnf ind req ;;
    *) _kiv_files "$word" ;;
  esac
}

_kivcts() {
  COMPREPLY=()
  if [ "$COMP_CWORD" = 1 ]; then
    _kiv_files "${COMP_WORDS[1]}"
  else
    _kiv_folders "${COMP_WORDS[COMP_CWORD]}"
  fi
}

complete -F _kiv kiv
complete -F _kivagent kivagent
complete -F _kivcat kivcat
complete -F _kivcts kivcts
