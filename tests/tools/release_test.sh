#!/bin/sh
# Tests of tools/source_archive, tools/check_format and tools/progress. Run from the top of the tree.
set -u
. tests/tools/tap.sh

git_here() {
  git -c user.name=test -c user.email=test@example.org -c init.defaultBranch=main "$@"
}

# A small tree below folders whose names look like those of builds, with two commits' files.
tree=$scratch/builds/build-1/qsvmon
mkdir -p "$tree/tools" "$tree/sim/build-data"
cp tools/source_archive tools/check_format "$tree/tools/"
cp .clang-format "$tree/"
echo 'project(qsvmon VERSION 7.8.9 LANGUAGES C)' >"$tree/CMakeLists.txt"
echo 'int one;' >"$tree/sim/one.cpp"
echo data >"$tree/sim/build-data/kept.csv"

is "no archive of what is no repository" \
  "$("$tree/tools/source_archive" "$scratch/none" >/dev/null 2>&1; echo "$?"; ls "$scratch/none")" 1

(cd "$tree" && git_here init -q && git_here add -A && git_here commit -q -m one) || exit 2
echo untracked >"$tree/untracked.txt"
echo 'int two;' >>"$tree/sim/one.cpp"
archive=$scratch/out/qsvmon-7.8.9.tar.gz
is "the archive is named and uncommitted changes are noted" \
  "$("$tree/tools/source_archive" "$scratch/out" 2>&1)" \
  "source_archive: note that uncommitted changes are left out
$archive"
wanted='qsvmon-7.8.9/
qsvmon-7.8.9/.clang-format
qsvmon-7.8.9/CMakeLists.txt
qsvmon-7.8.9/sim/
qsvmon-7.8.9/sim/build-data/
qsvmon-7.8.9/sim/build-data/kept.csv
qsvmon-7.8.9/sim/one.cpp
qsvmon-7.8.9/tools/
qsvmon-7.8.9/tools/check_format
qsvmon-7.8.9/tools/source_archive'
is "it holds what was committed, below any folder" "$(tar -tzf "$archive" | LC_ALL=C sort)" "$wanted"
is "what anybody may read and the owner write" \
  "$(tar -tvzf "$archive" | awk '!/^d/ { print $1 }' | sort -u)" "-rw-r--r--
-rwxr-xr-x"
is "as it was committed" "$(tar -xOzf "$archive" qsvmon-7.8.9/sim/one.cpp)" "int one;"

first=$(cksum <"$archive")
sleep 1
(cd "$tree" && tools/source_archive >/dev/null 2>&1 && tools/source_archive >/dev/null 2>&1)
is "it does not collect its own last output" "$(tar -tzf "$tree/qsvmon-7.8.9.tar.gz" | LC_ALL=C sort)" \
  "$wanted"
is "the same commit gives the same bytes" "$(cksum <"$tree/qsvmon-7.8.9.tar.gz")" "$first"
mkdir "$tree/inner" && cp -R "$tree/tools" "$tree/CMakeLists.txt" "$tree/inner/"
is "a folder of a repository is no repository" \
  "$("$tree/inner/tools/source_archive" "$scratch/inner" >/dev/null 2>&1; echo "$?")" 1
rm -rf "$tree/inner"

# The formatting step, in a tree that git knows nothing of.
rm -rf "$tree/.git"
is "formatted files are counted without git" "$("$tree/tools/check_format")" "1 files are formatted"
echo 'int   three ;' >"$tree/sim/three.h"
is "a file that is not formatted is found" \
  "$("$tree/tools/check_format" 2>&1 | grep -q 'three.h:1:.*clang-format-violations' && echo yes)" yes
is "and fails the step" "$("$tree/tools/check_format" >/dev/null 2>&1; echo "$?")" 1
mkdir "$tree/build-x" "$tree/.hidden"
mv "$tree/sim/three.h" "$tree/build-x/"
cp "$tree/build-x/three.h" "$tree/.hidden/"
is "what was built is not looked at" "$("$tree/tools/check_format")" "1 files are formatted"
rm "$tree/sim/one.cpp"
is "a tree without sources fails" "$("$tree/tools/check_format"; echo "$?")" \
  "check_format: no source files below $tree
1"

# A build of eight steps that fails.
cat >"$scratch/build" <<'END'
echo '-- configured'
for step in 1 2 3 4 5 6 7 8; do echo "[$step/8] Building $step"; done
echo 'error: it [9/9] broke' >&2
exit 3
END
told=$(tools/progress made sh "$scratch/build" 2>&1 >"$scratch/output")
is "progress ends with the build's status" "$?" 3
is "it tells of every quarter" "$told" 'made: step 2 of 8
made: step 4 of 8
made: step 6 of 8
made: step 8 of 8'
is "the build's output is as it was" "$(cat "$scratch/output")" \
  "$(sh "$scratch/build" 2>&1)"
is "nothing to do, nothing to tell" "$(tools/progress made echo 'ninja: no work to do.' 2>&1)" \
  'ninja: no work to do.'

finish
