#!/usr/bin/env bash
# try-maven.sh DIST WORK: builds the consumer beside this script with Maven from the repository of DIST, and runs its tests. Its
# own packages Maven takes from where it takes all; they stay in WORK/repository for the next time, ours do not.
set -euo pipefail
here=$(CDPATH= cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
dist=$1
work=$2
version=$(cd "$dist/maven/com/vantrel/zel/zel-provider" && echo [0-9]*/)
rm -rf -- "$work/consumer" "$work/repository/com/vantrel"
mkdir -p "$work"
cp -r "$here/consumer" "$work"
cd "$work/consumer"
mvn -B -ntp "-Dmaven.repo.local=$work/repository" "-Ddist=$dist" "-Dzel.version=${version%/}" test
