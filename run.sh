#!/usr/bin/env bash
# ./run.sh [FILE]: builds the library and the Java provider, and shows on FILE what they do (default: on the built library
# itself). Exits with 2 and one line on standard error when FILE cannot be read.
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
[ -f "$build/zel-sample.jar" ] || echo "building for the first time, about a minute (log: $log)" >&2
build_all() {
  # The tests' packages are not needed here; a tree that ./test.sh has configured stays as it is.
  [ -f "$build/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF
  cmake --build "$build" --target zelspi java
}
if ! build_all >"$log" 2>&1; then
  tail -n 30 "$log" >&2
  exit 1
fi

if [ $# -eq 0 ]; then
  cd "$root"
  set -- build/release/libzelspi.so
fi
# File names reach the JVM in the encoding of the locale.
LC_ALL=C.UTF-8 exec java -cp "$build/zel-provider.jar:$build/zel-sample.jar" com.vantrel.zel.sample.Sample "$1"
