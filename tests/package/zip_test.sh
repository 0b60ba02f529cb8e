#!/usr/bin/env bash
# Makes the archive for Windows of a build for it, unpacks it and uses it there, under Wine.
#
#     zip_test.sh BUILD WORK PREFIX HOST
#
# All are absolute; WORK is made anew, PREFIX is Wine's folder, HOST the tests' host that loads the module
# beside it.
#
# One idea: what users get is tried as users have it, in a folder whose name is neither ASCII nor without
# blanks. The examples show what they show on Linux.
set -euo pipefail
umask 022
source_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$1 work=$2 prefix=$3 host=$4

step=''
trap '[ $? = 0 ] || echo "zip_test: failed: $step" >&2' EXIT
step() { step=$*; echo "-- $step"; }
equal() { [ "$1" = "$2" ] || { echo "'$1' is not '$2'" >&2; return 1; }; }

under_wine() { timeout 60 "$source_folder/tools/under_wine" "$prefix" "$@"; }

# vlisp ARGUMENT...: the unpacked program.
vlisp() { under_wine "$folder/vlisp.exe" "$@"; }

run_example() { # NAME OPTION...
  local name=$1
  shift
  vlisp run "examples/$name.lsp" "$@" < /dev/null 2> "$work/$name.err" |
    diff -u "$source_folder/examples/$name.expected" - || { cat "$work/$name.err"; return 1; }
}

rm -rf "$work"
mkdir -p "$work/bei Jürgen"

step 'the archive is made'
cpack --config "$build/CPackConfig.cmake" -B "$work/packed" > "$work/packed.log" 2>&1 ||
  { cat "$work/packed.log"; false; }
archive=$(ls "$work/packed"/*.zip)

step 'it holds what it should'
cd "$work/bei Jürgen"
cmake -E tar xf "$archive"
folder=$PWD/$(basename "$archive" .zip)
cd "$folder"
find . -path './docs/*' -o -path './examples/*' -o -type f -print | LC_ALL=C sort |
  diff -u "$source_folder/tests/package/windows.list" -
diff -r --exclude=man "$source_folder/docs" docs
diff -r --exclude=CMakeLists.txt --exclude=.gitattributes "$source_folder/examples" examples
diff "$source_folder/LICENSE" LICENSE
diff "$source_folder/README.md" README.md

step 'it is named after the version that the program tells'
version=$(vlisp --version | tr -d '\r')
equal "$(basename "$archive")" "velmora-lisp-${version#vlisp }-windows-x64.zip"

step 'the examples run'
run_example sieve
run_example flange
run_example ask-box --input examples/ask-box.input
run_example number-holes --drawing examples/plate.dxf --save numbered.dxf --plot numbered.svg
diff numbered.svg "$source_folder/docs/pictures/plate-after.svg"

step 'it draws'
cd examples
vlisp plot plate.dxf -o ../plate.svg 2> "$work/plot.err" || { cat "$work/plot.err"; false; }
cd ..
diff plate.svg "$source_folder/docs/pictures/plate-before.svg"

step 'of a picture that it cannot draw it tells why'
if vlisp plot examples/plate.dxf -o plate.png 2> "$work/png.err"; then false; fi
grep -q 'draws SVG, neither PDF nor PNG' "$work/png.err"
equal "$(ls plate.*)" plate.svg

step 'the module is one for Windows, with its nine exports, and needs nothing that is not there'
tool=x86_64-w64-mingw32-objdump
$tool -p VelmoraLispExtension.vxm > "$work/module.txt"
sed -n 's/^\t\[ *[0-9]*\] \([A-Za-z]*\)$/\1/p' "$work/module.txt" |
  LC_ALL=C sort | diff -u - <(printf '%s\n' AppLoad LispEdit LispPoly MnuLoad TestLine VelmoraExtDynamicCmdEntry \
                            VelmoraExtEntryPoint VelmoraExtGetVarEntry VelmoraExtUIEntry)
for file in VelmoraLispExtension.vxm vlisp.exe; do
  if $tool -p $file | grep -i 'DLL Name: lib'; then false; fi
done

step 'a host loads the module'
cp "$host" "$work/bei Jürgen/Velmora.exe"
cp VelmoraLispExtension.vxm "$work/bei Jürgen/"
under_wine "$work/bei Jürgen/Velmora.exe" --gtest_filter=Evaluation.RunsOnAThreadOfItsOwn > "$work/host.txt" ||
  { cat "$work/host.txt"; false; }
grep -q '  PASSED  ] [1-9]' "$work/host.txt"

echo "$archive: as it should be"
