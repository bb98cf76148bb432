#!/usr/bin/env bash
# run-readme.sh README BUILD: does what README tells its readers to do, in an empty folder with the program zel at hand: the
# fenced block after "<!-- file: NAME -->" becomes the file NAME, the blocks after "<!-- run -->" are run in their order.
set -euo pipefail
readme=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

awk -v work="$work" '
  /^<!-- file: .* -->$/ { target = work "/" $3 }
  /^<!-- run -->$/      { target = work "/commands" }
  /^```/                { inside = !inside; if (!inside) target = ""; next }
  inside && target      { print >target }
' "$readme"

cd "$work"
[ -s commands ] && [ -s Quickstart.java ]
ln -s "$build/zel-provider.jar" .
PATH=$build:$PATH bash -euxo pipefail commands
cmp letter.txt copy.txt
