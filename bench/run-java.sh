#!/usr/bin/env bash
# bench/run-java.sh [digest] [random] [cipher] [signature] [keypair] ...: builds the provider and compares it with the JDK's own providers,
# and with another native one, Amazon's Corretto provider, where its jar is at hand or can be had from Maven Central.
set -euo pipefail
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd)
[ -f "$root/build/release/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target java java_bench >/dev/null

name=AmazonCorrettoCryptoProvider version=2.5.0
sum=94e92977ee52af1f50cf6744684c214f300e668ee6e1793be1802b209543dc9f
peer="$root/build/peers/$name-$version-linux-x86_64.jar"
is_right() { [ -f "$1" ] && echo "$sum  $1" | sha256sum --quiet --check - >/dev/null 2>&1; }
if ! is_right "$peer"; then
  mkdir -p "$root/build/peers"
  curl -sfL -o "$peer" "https://repo1.maven.org/maven2/software/amazon/cryptools/$name/$version/${peer##*/}" || true
  is_right "$peer" || { echo "without $name: its jar cannot be had" >&2; rm -f "$peer"; }
fi
java="${JAVA_HOME:+$JAVA_HOME/bin/}java"
release=$("$java" -XshowSettings:properties -version 2>&1 | sed -n 's/.*java\.specification\.version = //p')
options=()
[ "${release%%.*}" -lt 22 ] || options=(--enable-native-access=ALL-UNNAMED)
exec "$java" "${options[@]}" -cp "$root/build/release/zel-provider.jar:$root/build/release/java/bench:$peer" \
  com.vantrel.zel.bench.ProviderBench "$@"
