#!/usr/bin/env bash
# bench/run-java.sh [digest] [random] [cipher] [signature] [keypair] ...: builds the provider and compares it with the JDK's own providers.
set -euo pipefail
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd)
[ -f "$root/build/release/build.ninja" ] || cmake -S "$root" --preset release -D ZEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build/release" --target java java_bench >/dev/null
exec java -cp "$root/build/release/zel-provider.jar:$root/build/release/java/bench" com.vantrel.zel.bench.ProviderBench "$@"
