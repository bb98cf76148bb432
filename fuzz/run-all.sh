#!/usr/bin/env bash
# fuzz/run-all.sh SECONDS [TARGET...]: builds the fuzz targets and runs each for that long, one after the other; prints for
# each whether anything was found, and libFuzzer's last line with the executions and the edges reached ("cov"). New inputs stand in build/corpus/TARGET, findings in
# build/found. Exits with 1 when anything was found.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."

seconds=${1:?usage: fuzz/run-all.sh SECONDS [TARGET...]}
shift

cmake/install-packages.sh cmake ninja-build clang openjdk-17-jdk-headless
mkdir -p build/found
if ! { cmake --preset fuzz && cmake --build --preset fuzz; } >build/fuzz.log 2>&1; then
  tail -n 30 build/fuzz.log >&2
  exit 1
fi
[ $# -gt 0 ] || set -- $(sed -n 's/^zel_add_fuzz(\(.*\))$/\1/p' fuzz/CMakeLists.txt)

status=0
for target in "$@"; do
  run=build/fuzz/fuzz/${target}_fuzz new=build/corpus/$target kept=fuzz/corpus/$target
  mkdir -p "$new"
  # A single input that takes half a minute counts as a finding.
  found=none
  "$run" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 \
    -artifact_prefix="build/found/$target-" "$new" "$kept" >"build/found/$target.log" 2>&1 || found=yes status=1
  printf '%-8s found: %-4s %s\n' "$target" "$found" "$(grep -a '^#.* cov: ' "build/found/$target.log" | tail -1)"
done
exit $status
