#!/bin/sh
# Installs a build into a scratch folder and looks at what came out.
#
#   check_install.sh BUILD_FOLDER SOURCE_FOLDER
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$1" --prefix "$scratch/usr" >/dev/null
cd "$scratch/usr"

# Every page, schema and type of docs/ and nothing else, the program, its manual page and completions.
{
  echo bin/qsvmon
  echo share/bash-completion/completions/qsvmon
  echo share/doc/qsvmon/examples/qsvmon.tcsh
  echo share/fish/vendor_completions.d/qsvmon.fish
  echo share/man/man8/qsvmon.8
  echo share/zsh/site-functions/_qsvmon
  (cd "$2" && find docs -type f \( -name '*.md' -o -name '*.schema.json' -o -name '*.d.ts' -o \
      -name '*.ksy' \)) |
    sed 's,^docs/,share/doc/qsvmon/,'
} >"$scratch/expected"
# With the simulated appliance: its programs, its data, the schemas and their types.
if [ -x "$1/sim/qsvsim" ]; then
  {
    printf '%s\n' bin/qsvmon-here bin/qsvsim libexec/qsvsim/dict.so
    printf '%s\n' share/man/man1/qsvmon-here.1 share/man/man1/qsvsim.1
    echo share/bash-completion/completions/qsvsim
    echo share/doc/qsvmon/examples/qsvsim.tcsh
    echo share/fish/vendor_completions.d/qsvsim.fish
    echo share/zsh/site-functions/_qsvsim
    (cd "$2" && find sim/data -type f | sed 's,^sim/,share/qsvsim/,')
    (cd "$2" && find docs/schema -type f | sed 's,^docs/,share/qsvsim/,')
  } >>"$scratch/expected"
fi
sort -o "$scratch/expected" "$scratch/expected"
find . -type f | sed 's,^\./,,' | sort | diff "$scratch/expected" -

# Their links lead to what is installed with them.
python3 "$2/tests/docs/check_pages.py" share

# Without words the program lists modules and ends with 255.
status=0
bin/qsvmon >"$scratch/modules" || status=$?
[ "$status" = 255 ]
grep -qx module "$scratch/modules"

# Its version is found in it, once, and is the one of the project and of NEWS.
version=$(sed -n 's/^project(qsvmon VERSION \([0-9.]*\) .*/\1/p' "$2/CMakeLists.txt")
[ "$(tr '\0' '\n' <bin/qsvmon | grep -a '@(#)')" = "@(#)qsvmon $version" ]
head -n 1 "$2/NEWS" | grep -q "^$version ("
head -n 1 "$2/packaging/debian/changelog" | grep -q "^qsvmon ($version) "
grep -q "^DISTVERSION=.*[^0-9.]$version\$" "$2/packaging/freebsd/Makefile"
for page in qsvmon.8 qsvsim.1; do
  grep -qx "\.Os qsvmon $version" "$2/docs/$page"
done
