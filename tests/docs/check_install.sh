#!/bin/sh
# Installs a build into a scratch folder and looks at what came out.
#
#   check_install.sh BUILD_FOLDER SOURCE_FOLDER
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/usr" >/dev/null
cd "$scratch/usr"

# Every page, schema, type and wire description of docs/ and nothing else, the program, its manual page and completions.
{
  echo bin/qsvmon
  echo share/bash-completion/completions/qsvmon
  echo share/doc/qsvmon/examples/qsvmon.tcsh
  echo share/man/man8/qsvmon.8
  (cd "$2" && find docs -type f \( -name '*.md' -o -name '*.schema.json' -o -name '*.d.ts' -o -name '*.ksy' \)) |
    sed 's,^docs/,share/doc/qsvmon/,'
} | sort >"$scratch/expected"
find . -type f | sed 's,^\./,,' | sort | diff "$scratch/expected" -

# Without words the program lists modules and ends with 255.
status=0
bin/qsvmon >"$scratch/modules" || status=$?
[ "$status" = 255 ]
grep -qx module "$scratch/modules"
