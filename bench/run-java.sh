#!/usr/bin/env bash
# bench/run-java.sh [--runtime NAME] [digest] [random] [cipher] [signature] [keypair] ...: builds the provider and compares it with
# the JDK's own providers, and with another native one, Amazon's Corretto provider, where its jar is at hand or can be had from Maven
# Central; with "first" in place of these, what a program waits for at its start. NAME is one of the runtimes that
# cmake/fetch-java-runtimes.sh lays into build/runtimes, such as windows-21, which runs under wine and wants the
# preset windows built before.
set -euo pipefail
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd)
[ -f "$root/build/release/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target java java_bench >/dev/null
java=(java)
classpath=$root/build/release/zel-provider.jar:$root/build/release/java/bench
if [ "${1:-}" = --runtime ]; then
  [ -d "$root/build/runtimes/$2" ] || { echo "no build/runtimes/$2: cmake/fetch-java-runtimes.sh fetches some" >&2; exit 2; }
  java=("$root/build/runtimes/$2/bin/java")
  if [[ $2 == windows-* ]]; then
    export WINEPREFIX=$root/build/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
    java=(/usr/lib/wine/wine64 "${java[0]}.exe" -XX:ActiveProcessorCount="$(nproc)")
    classpath="Z:${classpath/:/;Z:}"
  fi
  shift 2
fi
release=$("${java[@]}" -XshowSettings:properties -version 2>&1 | sed -n 's/.*java\.specification\.version = \([0-9]*\).*/\1/p')
[ "$release" -lt 22 ] || java+=(--enable-native-access=ALL-UNNAMED)
program=ProviderBench
if [ "${1:-}" = first ]; then
  program=FirstUse
  shift
elif [[ $classpath != Z:* ]]; then
  name=AmazonCorrettoCryptoProvider version=2.5.0
  sum=94e92977ee52af1f50cf6744684c214f300e668ee6e1793be1802b209543dc9f
  peer=$root/build/peers/$name-$version-linux-x86_64.jar
  is_right() { echo "$sum  $peer" | sha256sum --quiet --check - >/dev/null 2>&1; }
  mkdir -p "${peer%/*}"
  is_right || curl -sfL -o "$peer" "https://repo1.maven.org/maven2/software/amazon/cryptools/$name/$version/${peer##*/}" || true
  if is_right; then classpath+=:$peer; else echo "without $name: its jar cannot be had" >&2; fi
fi
exec "${java[@]}" -cp "$classpath" com.vantrel.zel.bench.$program "$@"
