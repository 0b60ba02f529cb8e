#!/bin/sh
# start_order_test.sh START_ORDER VLISP ORDER: what a start of vlisp runs through stands together in it,
# and a program that cannot be watched is linked all the same.
set -eu
start_order=$1 vlisp=$2 order=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
  echo "start_order_test: $*" >&2
  exit 1
}

# In the order in which they are entered, and nothing that a start does not need.
place() { grep -n "[.]text[.]$1 " "$order" | head -n 1 | cut -d : -f 1; }
[ "$(place main)" -lt "$(place _ZN5vlisp3app7runFileERKNS0_10RunOptionsE)" ] || fail "main is not before runFile"
! grep -q svgOf "$order" || fail "a start draws no pictures"
readelf -SW "$vlisp" | grep -q '[.]text[.]start ' || fail "vlisp is not linked in that order"

# watch PROGRAM MESSAGE: the script that is made places nothing, and why is said.
watch() {
  "$start_order" "$folder/order.ld" "$1" 2>"$folder/said" || fail "it ends with $?"
  grep -q "$2" "$folder/said" || fail "'$(cat "$folder/said")' is said and not '$2'"
  ! grep -q 'text[.]_Z' "$folder/order.ld" || fail "functions are placed"
  printf 'int main() { return 0; }' | c++ -x c++ - "-Wl,-T,$folder/order.ld" -o "$folder/program"
  "$folder/program" || fail "what is linked so does not run"
}
echo 'not a program' > "$folder/text"
watch "$folder/nowhere" "cannot read"
watch "$folder/text" "cut off"
printf 'int main() { return 7; }' | c++ -x c++ - -o "$folder/seven"
watch "$folder/seven" "did not end well"
strip "$folder/seven"
watch "$folder/seven" "has no symbols"
