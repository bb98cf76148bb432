#!/usr/bin/env bash
# ./test.sh: builds and runs the fast tests, native and Java. ./test.sh --full adds the other compiler, the sanitizers, the
# cross builds for Windows and for Linux on ARM with their tests under wine and qemu, the Java side in other versions of Java and
# in JVMs for Windows and ARM, and the tests that take long. Ends with ctest's closing line.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")"

full=false
case "${1:-}" in
  "") ;;
  --full) full=true ;;
  *) echo "usage: ./test.sh [--full]" >&2; exit 2 ;;
esac

packages=(cmake ninja-build g++ openjdk-17-jdk-headless junit5 libpicocli-java libgtest-dev openssl pkg-config python3)
if $full; then
  packages+=(clang g++-mingw-w64-x86-64-posix wine64 g++-aarch64-linux-gnu qemu-user googletest valgrind
    libbenchmark-dev libssl-dev libgmp-dev dpkg-dev git zip # these for the benchmarks and ./dist.sh
    maven lintian debootstrap man-db # these for what ./dist.sh makes
    python3-pip unzip) # these for the Java runtimes
fi
cmake/install-packages.sh "${packages[@]}"

# build_preset PRESET [TARGET...]: configures, and builds all or the targets; shows the log only when that fails.
build_preset() {
  local preset=$1 log=build/$1.log
  shift
  mkdir -p build
  echo "== $preset: building (log: $log)"
  if ! { cmake --preset "$preset" -D ZEL_BUILD_TESTS=ON && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1; then
    tail -n 50 "$log" >&2
    exit 1
  fi
}

# run_tests PRESET [CTEST ARGUMENT...]
run_tests() {
  local preset=$1
  shift
  echo "== $preset: testing"
  ctest --preset "$preset" --no-tests=error "$@"
}

# run_programs PRESET TEST...: builds the library and the programs of those tests, and runs them.
run_programs() {
  local preset=$1 names
  shift
  names=$(IFS='|' && echo "$*")
  build_preset "$preset" zelspi "${@/%/_test}"
  run_tests "$preset" --tests-regex "^($names)\$"
}

# show_kernels PRESET: what the tests of the kernels have said of this CPU.
show_kernels() {
  tr -d '\r' <"build/$1/Testing/Temporary/LastTest.log" | grep -aE '^CPU features|runs? on the kernel' | sort -u
}

if ! $full; then
  build_preset release
  run_tests release --label-exclude long
  exit
fi

cmake/fetch-java-runtimes.sh build/runtimes

# One server of wine's for all programs: it takes seconds to start and to end, and one that ends takes with it what starts.
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all
mkdir -p "$WINEPREFIX"
/usr/lib/wine/wineserver64 -p
trap '/usr/lib/wine/wineserver64 -k' EXIT
if ! WINEDLLOVERRIDES=mscoree,mshtml= /usr/lib/wine/wine64 wineboot >build/wine.log 2>&1; then
  tail -n 20 build/wine.log >&2
  exit 1
fi

grep -m1 'model name' /proc/cpuinfo || true
# Before the release build, so that the provider's jar there carries the libraries of all systems.
for preset in windows arm64 asan-clang clang; do
  build_preset "$preset"
  run_tests "$preset" --label-exclude long
  show_kernels "$preset"
done
# What those have not seen: threads, the portable kernels under all that is built on them, clang's wide vectors on Windows, and
# the sanitized library in a JVM.
run_programs tsan bridge_threads capi hash platform pubkey random
run_programs portable hash aes bignum prime pubkey
run_programs windows-clang hash aes bignum
build_preset asan zelspi java java_tests
run_tests asan -R '^java_hostile$'
build_preset release
run_tests release
