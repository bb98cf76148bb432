#!/usr/bin/env bash
# bench/run-java.sh [--runtime NAME] [digest] [random] [cipher] [signature] [keypair] ...: builds the provider and compares it with
# the JDK's own providers; with "first" in place of these, what a program waits for at its start. NAME is one of the runtimes that
# cmake/fetch-java-runtimes.sh lays into build/runtimes, such as windows-21, which runs under wine.
set -euo pipefail
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd)
[ -f "$root/build/release/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target java java_bench >/dev/null
java=(java)
classpath=$root/build/release/zel-provider.jar:$root/build/release/java/bench
if [ "${1:-}" = --runtime ]; then
  java=("$root/build/runtimes/$2/bin/java")
  if [[ $2 == windows-* ]]; then
    export WINEPREFIX=$root/build/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
    java=(/usr/lib/wine/wine64 "${java[0]}.exe" -XX:ActiveProcessorCount="$(nproc)")
    classpath="Z:${classpath/:/;Z:}"
  fi
  shift 2
fi
program=ProviderBench
if [ "${1:-}" = first ]; then
  program=FirstUse
  shift
fi
exec "${java[@]}" -cp "$classpath" com.vantrel.zel.bench.$program "$@"
