# Completion of qsvmon for fish.
# Made by tools/make_completions from completions/commands.txt.

# One element per command: module, sub-command, words with their fixed values.
set -g __qsvmon_rows \
  'module list' \
  'module stat' \
  'qsvlog stat tag=' \
  'qsvquery stat' \
  'worker stat taskid=' \
  'worker list type=' \
  'worker add taskname=' \
  'disk stat' \
  'assetsgroup2 add' \
  'assetsgroup2 list' \
  'assetsgroup2 set' \
  'assetsgroup2 stat' \
  'assetsgroup2 remove' \
  'assetsobj2 add' \
  'assetsobj2 list page= limit=' \
  'assetsobj2 set' \
  'assetsobj2 stat' \
  'assetsobj2 remove' \
  'table get' \
  'table addip tid= ip= info=' \
  'table rmvip' \
  'table clear' \
  'table getcmp' \
  'table loadfile' \
  'tcpreset listip type=dst|src filter= sort=flowcnt|http|https|mintime|maxtime order=asc|desc row=' \
  'tcpreset listdns filter= sort=flowcnt|http|https|mintime|maxtime|http20x|http30x|http40x|http50x order=asc|desc row=' \
  'tcpreset list' \
  'emaillog list page= limit= download= json= ip= mac= keywd=' \
  'ftplog list page= limit= download= json=' \
  'telnetlog list page= limit= download= json=' \
  'malclog list listtype=dst|src|app|table|detail|host page= limit= tid= id= type=ip|dns itlgc_id= apid= src= dst= host=' \
  'qsviptable get' \
  'qsviptable addip tid= ip= info= tag=' \
  'qsviptable remove tid= ip=' \
  'qsviptable clear table=' \
  'qsviptable getcmp table=' \
  'qsviptable loadfile' \
  'qsvtable add' \
  'qsvtable list' \
  'qsvtable set' \
  'qsvtable stat' \
  'qsvtable remove' \
  'qsvtable get' \
  'qsvdnsgrp add' \
  'qsvdnsgrp list' \
  'qsvdnsgrp set' \
  'qsvdnsgrp stat' \
  'qsvdnsgrp remove' \
  'qsvdnsgrp get' \
  'qsvdnsgrp loadfile' \
  'keytbl list' \
  'sysboot' \
  '* stat' \
  '* config' \
  '* list' \
  '* get' \
  '* add' \
  '* set' \
  '* remove' \
  '* load' \
  '* debug' \

set -g __qsvmon_find '{ n = split(l, w, " "); if (l ~ / $/) n++; if (n == 2) { if ($1 == "*") next; if (seen[$1]++ == 0) print $1 } else if (n == 3) { if ($1 == w[2]) { known = 1; if (NF > 1) print $2 } else if ($1 == "*" && known == 0) print $2 } else if ($1 == w[2] && $2 == w[3]) for (i = 3; i <= NF; i++) { p = index($i, "="); key = substr($i, 1, p); if (index(w[n], "=") == 0) print key; else if (substr(w[n], 1, p) == key) { m = split(substr($i, p + 1), v, "|"); for (j = 1; j <= m; j++) print key v[j] } } }'

function __qsvmon_complete
    # Up to the cursor; the command itself may have been called by a path.
    set -l line (commandline --current-process --cut-at-cursor | string trim --left)
    set -l words (string replace -r '^\S+' qsvmon -- $line)
    printf '%s\n' $__qsvmon_rows | awk -v l="$words" $__qsvmon_find
end
complete -c qsvmon -f -a '(__qsvmon_complete)'
complete -c qsvmon-here -f -a '(__qsvmon_complete)'
