# Completion of qsvmon for bash.
# Made by tools/make_completions from completions/commands.txt.

# One line per command: module, sub-command, words with their fixed values.
_qsvmon_rows='
module list
module stat
qsvlog stat tag=
qsvquery stat
worker stat taskid=
worker list type=
worker add taskname=
disk stat
assetsgroup2 add
assetsgroup2 list
assetsgroup2 set
assetsgroup2 stat
assetsgroup2 remove
assetsobj2 add
assetsobj2 list page= limit=
assetsobj2 set
assetsobj2 stat
assetsobj2 remove
table get
table addip tid= ip= info=
table rmvip
table clear
table getcmp
table loadfile
tcpreset listip type=dst|src filter= sort=flowcnt|http|https|mintime|maxtime order=asc|desc row=
tcpreset listdns filter= sort=flowcnt|http|https|mintime|maxtime|http20x|http30x|http40x|http50x order=asc|desc row=
tcpreset list
emaillog list page= limit= download= json= ip= mac= keywd=
ftplog list page= limit= download= json=
telnetlog list page= limit= download= json=
malclog list listtype=dst|src|app|table|detail|host page= limit= tid= id= type=ip|dns itlgc_id= apid= src= dst= host=
qsviptable get
qsviptable addip tid= ip= info= tag=
qsviptable remove tid= ip=
qsviptable clear table=
qsviptable getcmp table=
qsviptable loadfile
qsvtable add
qsvtable list
qsvtable set
qsvtable stat
qsvtable remove
qsvtable get
qsvdnsgrp add
qsvdnsgrp list
qsvdnsgrp set
qsvdnsgrp stat
qsvdnsgrp remove
qsvdnsgrp get
qsvdnsgrp loadfile
keytbl list
sysboot
* stat
* config
* list
* get
* add
* set
* remove
* load
* debug
'

# shellcheck disable=SC2016 # awk's variables, not the shell's
_qsvmon_find='{ n = split(l, w, " "); if (l ~ / $/) n++; if (n == 2) { if ($1 == "*") next; if (seen[$1]++ == 0) print $1 } else if (n == 3) { if ($1 == w[2]) { known = 1; if (NF > 1) print $2 } else if ($1 == "*" && known == 0) print $2 } else if ($1 == w[2] && $2 == w[3]) for (i = 3; i <= NF; i++) { p = index($i, "="); key = substr($i, 1, p); if (index(w[n], "=") == 0) print key; else if (substr(w[n], 1, p) == key) { m = split(substr($i, p + 1), v, "|"); for (j = 1; j <= m; j++) print key v[j] } } }'

_qsvmon() {
  local line=${COMP_LINE:0:$COMP_POINT}
  local current=${line##* } cut='' found
  # Where "=" ends a word, the shell replaces only what stands behind it.
  case "$COMP_WORDBREAKS" in
    *=*) case "$current" in *=*) cut=${current%%=*}= ;; esac ;;
  esac
  COMPREPLY=()
  for found in $(printf '%s' "$_qsvmon_rows" | awk -v l="$line" "$_qsvmon_find"); do
    case "$found" in
      "$current"*) COMPREPLY+=("${found#"$cut"}") ;;
    esac
  done
  # The value of a word follows its "=" at once.
  case "${COMPREPLY[*]}" in *=) compopt -o nospace 2>/dev/null ;; esac
  return 0
}
complete -F _qsvmon qsvmon qsvmon-here
