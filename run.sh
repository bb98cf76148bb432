#!/usr/bin/env bash
# ./run.sh [FILE]: builds the library, the Java provider and the program zel, and shows on FILE what they do (default: on the
# built library itself). Exits with 2 and one line on standard error when FILE cannot be read.
set -euo pipefail
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)

if [ $# -gt 1 ] || [ "${1:-}" = --help ]; then
  echo "usage: ./run.sh [FILE]" >&2
  exit 2
fi

"$root/cmake/install-packages.sh" cmake ninja-build g++ openjdk-17-jdk-headless libpicocli-java

build=$root/build/release
log=$root/build/release.log
mkdir -p "$build"
[ -f "$build/zel-tool.jar" ] || echo "building for the first time, about a minute (log: $log)" >&2
build_all() {
  # The tests' packages are not needed here; a tree that ./test.sh has configured stays as it is.
  [ -f "$build/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF
  cmake --build "$build" --target zelspi zelspi_static zelverify java
}
if ! build_all >"$log" 2>&1; then
  tail -n 30 "$log" >&2
  exit 1
fi

if [ $# -eq 0 ]; then
  cd "$root"
  set -- build/release/libzelspi.so
fi
file=$1
case $file in -*) file=./$file ;; esac
zel=$build/zel
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# The commands one after the other, as a person would type them; one process, so that the generator is seeded once.
"$zel" digest --algorithm SHA-1 "$file" \
  --then digest "$file" \
  --then random 32 \
  --then keygen aes --output "$work/aes.key" \
  --then encrypt --force --key "$work/aes.key" --output "$file.enc" "$file" \
  --then decrypt --key "$work/aes.key" --output "$work/decrypted" "$file.enc" \
  --then keygen rsa --output "$work/rsa.key" --pkcs1 "$work/rsa.der" \
  --then sign --force --key "$work/rsa.key" --output "$file.sig" "$file" \
  --then verify --key "$work/rsa.key.pub" --signature "$file.sig" "$file" \
  --then keygen dsa --output "$work/dsa.key" \
  --then sign --key "$work/dsa.key" --output "$work/dsa.sig" "$file" \
  --then verify --key "$work/dsa.key.pub" --signature "$work/dsa.sig" "$file"

if ! cmp -- "$file" "$work/decrypted"; then
  exit 1
fi
echo "the decrypted copy is the file"
"$build/zelverify" "$work/rsa.der" "$file"

# The same file with its last bit turned over, or with one byte where it is empty.
head -c -1 -- "$file" >"$work/changed"
last=$(tail -c 1 -- "$file" | od -An -tu1 | tr -d ' ')
printf "\\x$(printf %x $((${last:-0} ^ 1)))" >>"$work/changed"
for algorithm in rsa dsa; do
  signature=$file.sig
  [ $algorithm = rsa ] || signature=$work/dsa.sig
  refused=0
  "$zel" verify --key "$work/$algorithm.key.pub" --signature "$signature" "$work/changed" >"$work/answer" || refused=$?
  if [ $refused -ne 1 ]; then
    echo "run.sh: a changed byte was not refused" >&2
    exit 1
  fi
  echo "with a changed byte: $(sed 's/^.*: //' "$work/answer")"
done
