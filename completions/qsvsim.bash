# Completion of qsvsim for bash.

_qsvsim() {
  local current=${COMP_WORDS[COMP_CWORD]} words='' actions=()
  case "${COMP_WORDS[COMP_CWORD - 1]}" in
    --root | --capture) actions=(-o dirnames) ;;
    --data) words='sample nasty' actions=(-o dirnames) ;;
    --dict) actions=(-o default) ;;
    --fault) words='refuse close half silence late error count replylen garbage unterminated dict' ;;
    --records | --distinct | --seed | --batch | --fault-after | --fault-ms) ;;
    *)
      words='--root --data --dict --background --stop --capture --pretty --version --help
        --records --distinct --seed --batch --fault --fault-after --fault-ms'
      ;;
  esac
  ((${#actions[@]} == 0)) || compopt "${actions[@]}" 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _qsvsim qsvsim
