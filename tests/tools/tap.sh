# shellcheck shell=sh
# What the tests of tools/ share; they source it from the top of the tree.
scratch=$(mktemp -d) || exit 2
trap 'rm -rf "$scratch"' EXIT
number=0
bad=0

# is <what> <got> <wanted>
is() {
  number=$((number + 1))
  if [ "$2" = "$3" ]; then
    echo "ok $number $1"
  else
    echo "not ok $number $1"
    printf '# got:    %s\n# wanted: %s\n' "$2" "$3"
    bad=1
  fi
}

# Ends the script: 0 when every check passed.
finish() {
  echo "1..$number"
  exit "$bad"
}
