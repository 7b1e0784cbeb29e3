# bash completion for zvgctl: commands and options are those that its own --help shows.

_zvgctl() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  local -a command=("${COMP_WORDS[0]}")
  local word help words

  case $previous in
    --generation) COMPREPLY=($(compgen -W "rq300 rq301 rq302" -- "$current")); return ;;
    -w | --width) COMPREPLY=($(compgen -W "8 16 32 64" -- "$current")); return ;;
    --hdmi | --dp) COMPREPLY=($(compgen -W "0 1 2 3" -- "$current")); return ;;
    --raw | --serial) COMPREPLY=($(compgen -f -- "$current")); return ;;
  esac

  # The commands named so far: each must be one that the help of those before it lists.
  help=$("${command[@]}" --help 2>/dev/null)
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ " $(_zvgctl_listed Subcommands "$help") " == *" $word "* ]] || continue
    command+=("$word")
    help=$("${command[@]}" --help 2>/dev/null)
  done

  if [[ $current == -* ]]; then
    words="$(_zvgctl_options "$help") $(_zvgctl_options "$("${COMP_WORDS[0]}" --help 2>/dev/null)")"
  else
    words=$(_zvgctl_listed Subcommands "$help")
  fi
  if [[ -n $words ]]; then
    COMPREPLY=($(compgen -W "$words" -- "$current"))
  else
    COMPREPLY=($(compgen -f -- "$current"))
  fi
}

# The names below a heading of a help text.
_zvgctl_listed() {
  awk -v heading="$1:" '
    $0 == heading { listed = 1; next }
    /^[^ ]/ || /^$/ { listed = 0 }
    listed && /^  [a-z]/ { printf "%s ", $1 }' <<<"$2"
}

_zvgctl_options() {
  grep -oE -- '^  (-[a-z],)?--[a-z-]+' <<<"$1" | grep -oE -- '--[a-z-]+' | tr '\n' ' '
}

complete -F _zvgctl zvgctl
