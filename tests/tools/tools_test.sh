#!/bin/sh
# Tests of tools/check_floors, tools/count_tests and tools/coverage_summary. Run from the top of the tree.
set -u
. tests/tools/tap.sh

# floors <file> <header>: what check_floors says of a tree with this one include.
floors() {
  rm -rf "$scratch/tree"
  mkdir -p "$scratch/tree/$(dirname "$1")"
  printf '#include <cstdio>\n#include "%s"\n' "$2" >"$scratch/tree/$1"
  tools/check_floors "$scratch/tree" 2>&1
  echo "$?"
}

is "this tree keeps its floors" "$(tools/check_floors . && echo yes)" yes
is "own folder" "$(floors format/a.cpp format/a.h)" 0
is "down a floor" "$(floors cli/a.cpp commands/tcpreset/a.h)" 0
is "down to the bottom" "$(floors commands/malclog/a.cpp platform/a.h)" 0
is "a family may use what listings share" "$(floors commands/malclog/a.h commands/listing/a.h)" 0
is "the record alone, from below" "$(floors format/a.h rpc/wire/request.h)" 0
is "up from format" "$(floors format/a.h rpc/session.h)" \
  'format/a.h: #include "rpc/session.h" goes up a floor
1'
is "up from what listings share" "$(floors commands/listing/a.h commands/malclog/a.h)" \
  'commands/listing/a.h: #include "commands/malclog/a.h" goes up a floor
1'
is "across families" "$(floors commands/malclog/a.h commands/tcpreset/a.h)" \
  'commands/malclog/a.h: #include "commands/tcpreset/a.h" goes across
1'
is "pools do not use the session" "$(floors pools/a.h rpc/session.h)" \
  'pools/a.h: #include "rpc/session.h" goes across
1'
is "a path that is not from the top" "$(floors pools/a.cpp a.h)" \
  'pools/a.cpp: #include "a.h" is not a path from the top of the tree
1'

# named <file>: what check_floors says of a tree with this one file, which names standard output.
named() {
  rm -rf "$scratch/tree"
  mkdir -p "$scratch/tree/$(dirname "$1")"
  echo 'void f() { standard_out().put("x"); }' >"$scratch/tree/$1"
  tools/check_floors "$scratch/tree" 2>&1
  echo "$?"
}

is "handlers name standard output" "$(named commands/malclog/a.cpp)" 0
is "the dispatcher names it" "$(named cli/a.cpp)" 0
is "its own unit names it" "$(named format/printer.cpp)" 0
is "the session does not" "$(named rpc/a.cpp)" 'rpc/a.cpp: names standard_out
1'
is "nor do the pools" "$(named pools/a.h)" 'pools/a.h: names standard_out
1'

cat >"$scratch/log" <<'END'
1/4 Testing: unit
[ RUN      ] A.b
[       OK ] A.b (0 ms)
[ RUN      ] A.c
[  FAILED  ] A.c (3 ms)
[  FAILED  ] A.c
Test Failed.
2/4 Testing: script
ok 1 one
ok 2 two
Test Passed.
3/4 Testing: whole
anything
Test Passed.
4/4 Testing: crashed
[       OK ] B.a (0 ms)
Segmentation fault
Test Failed.
END
is "cases, scripts, whole programs and crashes are counted" "$(tools/count_tests "$scratch/log")" \
  "5 2"
cat >"$scratch/log" <<'END'
1/2 Testing: partly
[  ASIDE   ] A.b
[       OK ] A.b (0 ms)
[       OK ] A.c (0 ms)
Test Passed.
2/2 Testing: wholly
[  ASIDE   ] script.A.b
ok 1 script.A.b
Test Passed.
END
is "what was set aside is not counted" "$(tools/count_tests "$scratch/log")" "1 0"

# summary <branches of rpc/a.cpp that were reached> <file left out>: what coverage_summary says.
summary() {
  cat >"$scratch/all.csv" <<END
filename,line_total,line_covered,line_percent,branch_total,branch_covered,branch_percent
cli/a.cpp,10,9,0.9,4,4,1.0
cli/b.h,10,10,1.0,0,0,
commands/tcpreset/a.cpp,100,100,1.0,50,45,0.9
format/a.cpp,40,40,1.0,10,10,1.0
pools/a.cpp,20,19,0.95,10,10,1.0
rpc/a.cpp,20,20,1.0,10,$1,
END
  grep -v "^$2" "$scratch/all.csv" >"$scratch/files.csv"
  tools/coverage_summary "$scratch/files.csv"
  echo "$?"
}

is "shares just large enough" "$(summary 9 none)" \
  'lines: 99.0 % of 200 (cli 95.0 %, commands 100.0 %, format 100.0 %, pools 95.0 %, rpc 100.0 %)
branches: 92.9 % of 84 (cli 100.0 %, commands 90.0 %, format 100.0 %, pools 100.0 %, rpc 90.0 %)
0'
is "one folder has too few branches" "$(summary 8 none | tail -n 2)" \
  'too few: five folders are to have 95 % of their lines and 90 % of their branches
1'
is "one folder has too few lines" "$(summary 10 cli/b | tail -n 1)" 1
is "a folder is missing" "$(summary 10 pools/ | tail -n 1)" 1
is "nothing was measured" "$(summary 10 '[c-r]' | tail -n 1)" 1

finish
