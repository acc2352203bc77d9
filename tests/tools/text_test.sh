#!/bin/sh
# Tests of tools/lint_text and tests/docs/check_pages.py. Run from the top of the tree.
# shellcheck disable=SC2016 # what is not expanded belongs to the files that are written here
set -u
. tests/tools/tap.sh

# lint: what lint_text says of the tree, its findings cut to what they are about.
lint() {
  tools/lint_text "$tree" >"$scratch/said" 2>&1
  status=$?
  grep -oE 'SC[0-9]+ \([a-z]+\)|[a-z.]+:[0-9]+: [a-z]+ ==> [a-z]+|^[0-9]+ scripts.*' "$scratch/said"
  echo "$status"
}

tree=$scratch/tree
mkdir -p "$tree/tools" "$tree/build" "$tree/sim/data"
printf '#!/bin/sh\necho "$1"\n' >"$tree/tools/good"
printf 'echo "$1"\n' >"$tree/tools/complete.bash"
echo 'A page.' >"$tree/page.md"
is "clean scripts are counted" "$(lint)" "2 scripts and all texts are clean
0"
printf '#!/bin/sh\necho $1\n' >"$tree/tools/bad"
is "shellcheck's findings fail" "$(lint)" "SC2086 (info)
1"
mv "$tree/tools/bad" "$tree/build/"
is "not those of a build" "$(lint | tail -n 1)" 0
echo 'echo $1' >"$tree/tools/bad.bash"
is "a file that is sourced is a script too" "$(lint | tail -n 1)" 1
rm "$tree/tools/bad.bash"
# Written apart, or this file would be found.
echo "It rec""ieves froms, tolen." >"$tree/page.md"
is "codespell's findings fail, but for the words of the list" "$(lint)" "page.md:1: rec""ieves ==> receives
1"
mv "$tree/page.md" "$tree/sim/data/"
is "what was found on the network is not read" "$(lint | tail -n 1)" 0
rm -r "$tree/tools"
is "a tree without scripts fails" "$(lint)" 1

# pages <line...>: what check_pages says of a page with these lines.
pages() {
  printf '%s\n' "$@" >"$tree/page.md"
  python3 -B tests/docs/check_pages.py "$tree" | sed "s,$tree/,,"
}
rm -r "$tree/sim"
echo '# A b, c!' >"$tree/other.md"
is "links and headings that are there" \
  "$(pages '# One' '[a](other.md#a-b-c) [b](#one) [c](http://x.example/y) `[d](e)`' '' '    [f](g)')" \
  "2 pages are whole"
is "a file that is missing" "$(pages '[a](none.md)')" "page.md:1: no such file: none.md"
is "a heading that is missing" "$(pages '[a](other.md#a-b)')" \
  "page.md:1: no such heading: other.md#a-b"
is "an own heading that is missing" "$(pages 'x' '[a](#two)')" "page.md:2: no such heading: #two"
is "a table" "$(pages 'x' '' '| a | b |' '|---|---|' '| `c\|d` | e |' '' '| f |' '|---|')" \
  "2 pages are whole"
is "a bar inside a cell" "$(pages '| a | b |' '|---|---|' '| `c|d` | e |')" \
  "page.md:3: 3 cells, the header has 2"
is "a row that is too short" "$(pages '| a | b |' '|---|---|' '| c |')" \
  "page.md:3: 1 cells, the header has 2"
is "a table that is no table" "$(pages 'x' '| a |' '|---|')" \
  "page.md:2: no empty line in front of a table"
rm "$tree"/*.md
is "no pages" "$(python3 -B tests/docs/check_pages.py "$tree")" "no pages below $tree"

finish
