#!/usr/bin/env bash
# Makes the Debian package of a release build, installs it into an empty folder tree and uses it there.
#
#     deb_test.sh BUILD WORK     both absolute; WORK is made anew
#
# One idea: what users get is tried as users have it: dpkg installs it, programs are called by their
# installed paths, and lintian judges it. The examples show what they show when built.
set -euo pipefail
umask 022
source_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$1 work=$2
root=$work/root
documents=$root/usr/share/doc/vlisp
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)

step=''
trap '[ $? = 0 ] || echo "deb_test: failed: $step" >&2' EXIT
step() { step=$*; echo "-- $step"; }

equal() { [ "$1" = "$2" ] || { echo "'$1' is not '$2'" >&2; return 1; }; }

# vlisp ARGUMENT...: the installed program, which is told nothing of where it was built.
vlisp() { env -i HOME="$work" LC_ALL=C.UTF-8 PATH=/usr/bin:/bin "$root/usr/bin/vlisp" "$@"; }

# pack FOLDER: makes the package there, and gives its path.
pack() {
  SOURCE_DATE_EPOCH=1700000000 cpack --config "$build/CPackConfig.cmake" -B "$1" > "$1.log" 2>&1 ||
    { cat "$1.log" >&2; return 1; }
  ls "$1"/*.deb
}

# in_root ARGUMENT...: dpkg, for the tree; it need not be run by root.
in_root() {
  dpkg --root="$root" --force-not-root --force-bad-path --log="$work/dpkg.log" "$@" \
    2> "$work/dpkg.err" || { grep -v 'files list file' "$work/dpkg.err" >&2; return 1; }
}

# The tree is empty, but its dpkg knows the packages of this system: so dependencies are looked at.
prepare_root() {
  mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
  cp /var/lib/dpkg/status "$root/var/lib/dpkg/status"
}

installed_files() { (cd "$root" && find . -path ./var -prune -o -type f -print -o -type l -print); }

# Mode, owner, path; names that depend on the machine are made the same.
listing() {
  dpkg-deb -c "$1" | awk '{ printf "%s %s %s", $1, $2, $6; if ($7) printf " %s %s", $7, $8; print "" }' |
    grep -v '/doc/vlisp/\(docs\|examples\)/.' |
    sed -e "s|$triplet|TRIPLET|g" -e 's|libstdc++-[0-9]*-dev|libstdc++-N-dev|' | LC_ALL=C sort -k3
}

run_example() { # NAME OPTION...
  local name=$1
  shift
  (cd "$work" && vlisp run "$documents/examples/$name.lsp" "$@" < /dev/null 2> "$name.err") |
    diff -u "$documents/examples/$name.expected" - || { cat "$work/$name.err"; return 1; }
}

rm -rf "$work"
mkdir -p "$work"

step 'the package is made, twice the same'
package=$(pack "$work/packed")
cmp "$package" "$(pack "$work/again")"
version=$(dpkg-deb -f "$package" Version)
equal "$(basename "$package")" "vlisp_${version}_$(dpkg --print-architecture).deb"

step 'it holds what it should'
listing "$package" | diff -u "$source_folder/tests/package/vlisp.list" -

step 'lintian finds neither errors nor warnings, but those explained in its overrides'
lintian --allow-root --no-cfg --fail-on error,warning "$package"

step 'dpkg installs it, with what it depends on'
prepare_root
in_root --install "$package"
in_root --verify vlisp
equal "$(in_root --status vlisp | sed -n 's/^Status: //p')" 'install ok installed'
depends=$(dpkg-deb -f "$package" Depends)
for library in libc6 libcairo2 libpango-1.0-0 libpangocairo-1.0-0; do
  [[ " $depends" == *" $library ("* ]]
done

step 'pages and examples are those of the tree'
diff -r --exclude=man "$source_folder/docs" "$documents/docs"
diff -r --exclude=CMakeLists.txt --exclude=.gitattributes "$source_folder/examples" "$documents/examples"
diff <(sed -n 's/^ //; s/^\.$//; /^Permission/,$p' "$documents/copyright") \
     <(sed -n '/^Permission/,$p' "$source_folder/LICENSE")
equal "$(zcat "$documents/changelog.Debian.gz" | head -n 1)" "vlisp ($version) unstable; urgency=medium"

step 'the program knows its version'
equal "$(vlisp --version)" "vlisp ${version%-*}"

step 'the examples run'
run_example sieve
run_example flange
run_example ask-box --input "$documents/examples/ask-box.input"
run_example number-holes --drawing "$documents/examples/plate.dxf" --save numbered.dxf --plot numbered.svg
cmp "$work/numbered.svg" "$source_folder/docs/pictures/plate-after.svg"

step 'it draws SVG, PDF and PNG'
cp "$documents/examples/plate.dxf" "$work/"
cd "$work"
for kind in svg pdf png; do
  vlisp plot plate.dxf -o "plate.$kind" 2> plot.err || { cat plot.err; false; }
done
cmp plate.svg "$source_folder/docs/pictures/plate-before.svg"
equal "$(pdfinfo plate.pdf | sed -n 's/^Pages: *//p')" 1
"$build/bin/vlisp" plot plate.dxf -o built.png 2> /dev/null
cmp plate.png built.png

step 'PDF and PNG are drawn by the installed module'
mv "$root/usr/lib/$triplet/vlisp/vlisp_pictures.so" .
if vlisp plot plate.dxf -o alone.png 2> alone.err; then false; fi
grep -q "$root/usr/lib/vlisp/vlisp_pictures.so" alone.err
mv vlisp_pictures.so "$root/usr/lib/$triplet/vlisp/"

step 'a host loads the installed module'
printf '(+ 1 2)\n' | "$build/bin/small_host" "$root/usr/lib/vlisp/VelmoraLispExtension.vxm" > host.out
diff host.out <(printf '> (+ 1 2)\n3\n')

step 'the manual is read'
LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$root/usr/share/man/man1/vlisp.1.gz" \
  > manual.txt 2> manual.err
diff /dev/null manual.err
grep -q '^SYNOPSIS' manual.txt
grep -q 'vlisp.*LISP for CAD drawings' manual.txt

step 'the shell completes its commands'
env -i PATH="$root/usr/bin:/usr/bin:/bin" bash -c '
  source "$1/usr/share/bash-completion/completions/vlisp"
  complete -p vlisp' - "$root" > completion.txt
grep -q 'vlisp$' completion.txt

step 'removed, it leaves nothing'
in_root --purge vlisp
diff /dev/null <(installed_files)

echo "$package: as it should be"
