#!/usr/bin/env bash
# fuzz/run-all.sh SECONDS [TARGET...]: builds the fuzz targets and runs each for that long, one after the other; prints for
# each the executions, the edges reached and what was found. New inputs stand in build/corpus/TARGET, findings in
# build/found. Exits with 1 when anything was found.
#
# fuzz/run-all.sh --minimise [TARGET...]: takes into fuzz/corpus what the runs have found that reaches more than it does.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."

[ $# -ge 1 ] || { echo "usage: fuzz/run-all.sh SECONDS|--minimise [TARGET...]" >&2; exit 2; }
seconds=$1
shift

cmake/install-packages.sh cmake ninja-build clang openjdk-17-jdk-headless
mkdir -p build/found
log=build/fuzz.log
if ! { cmake --preset fuzz && cmake --build --preset fuzz; } >"$log" 2>&1; then
  tail -n 30 "$log" >&2
  exit 1
fi
[ $# -gt 0 ] || set -- $(sed -n 's/^zel_add_fuzz(\(.*\))$/\1/p' fuzz/CMakeLists.txt)

status=0
for target in "$@"; do
  run=build/fuzz/fuzz/${target}_fuzz new=build/corpus/$target kept=fuzz/corpus/$target
  mkdir -p "$new"
  if [ "$seconds" = --minimise ]; then
    # By edges alone, without how often each is taken, and nothing above 2 KiB: the suite replays them all.
    small=$(mktemp -d)
    for folder in "$kept" "$new"; do # one by one: a run finds inputs anew that are kept already, by the same name
      find "$folder" -type f -size -2049c -exec cp -t "$small" {} +
    done
    rm -rf "$kept" && mkdir "$kept"
    "$run" -merge=1 -use_counters=0 "$kept" "$small" >"build/found/$target.log" 2>&1
    rm -rf "$small"
    printf '%-16s %s inputs\n' "$target" "$(find "$kept" -type f | wc -l)"
    continue
  fi
  # A single input that takes half a minute counts as a finding.
  found=none
  "$run" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 -print_final_stats=1 \
    -artifact_prefix="build/found/$target-" "$new" "$kept" >"build/found/$target.log" 2>&1 || found=yes status=1
  printf '%-16s %12s executions %6s edges, findings: %s\n' "$target" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "build/found/$target.log")" \
    "$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "build/found/$target.log" | tail -1)" "$found"
done
exit $status
