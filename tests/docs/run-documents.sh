#!/usr/bin/env bash
# run-documents.sh short|long ROOT BUILD: does what the documents of ROOT tell their readers to do. A fenced block of shell
# commands has a mark in the line before it:
#   <!-- run -->       "short" runs it in an empty folder with the programs of BUILD at hand, each document's in their order;
#                      there the block after "<!-- file: NAME -->" is the file NAME
#   <!-- run long -->  "long" runs it, in a fresh clone of ROOT's commit
# Before that, "short" refuses a document that shows commands in any other way, or names tests and programs that do not exist.
set -euo pipefail
mode=$1
root=$2
build=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
documents=("$root/README.md" "$root"/[!R]*.md "$root"/docs/*.md) # README begins with the clone

# What stands after the marks, as files: DOCUMENT/commands, DOCUMENT/NAME, and "long".
awk -v work="$work" '
  function refuse(why) { print FILENAME ":" FNR ": " why >"/dev/stderr"; failed = 1 }
  FNR == 1 { folder = work "/" FILENAME; gsub(/.*\//, "", folder); folder = work "/" folder; before = "" }
  /^ *```/ {
    inside = !inside
    target = ""
    if (inside) {
      language = $1
      if (language == "```") refuse("a block without a language")
      if (before == "<!-- run -->") target = folder "/commands"
      else if (before == "<!-- run long -->") target = work "/long"
      else if (before ~ /^<!-- file: .* -->$/) target = folder "/" substr(before, 12, length(before) - 15)
      else if (language ~ /^```(sh|bash|console)$/) refuse("commands that no test runs")
      if (target) system("mkdir -p " folder)
    }
  }
  !/^ *```/ && inside && target { print >target }
  # The Windows build rehearses these two scripts under wine.
  inside && language == "```bat" && !/```|^try-zelspi.cmd$|^powershell .* try-zelspi.ps1$/ { refuse("a command that no test runs") }
  !inside && /^    / && before == "" { refuse("an indented block: fence it") }
  { before = $0; sub(/^ */, "", before) }
  END { exit failed }
' "${documents[@]}"

if [ "$mode" = long ]; then
  cd "$work"
  # Left out: what is this suite, what another test runs, and analyses that take an hour. Of runs of the suite in another
  # build one test is enough here, and of that build what it needs, and a second of each fuzz target.
  sed -E -e "s|<this repository>|'$root'|" -e 's|some-file|README.md|' \
    -e '/^ *\.\/(test|dist)\.sh/d; /--preset (lint|memcheck)/d; /ctest --preset release/d' \
    -e 's/(--build --preset (coverage|release))/\1 --target status_test/' \
    -e 's|(ctest --preset [a-z]+).*|\1 --no-tests=error -R "^status$"|' -e 's|(fuzz/run-all\.sh) [0-9]+|\1 1|' \
    -e 's|(bench/run-java\.sh).*|\1 digest|' long >commands
  export BENCHMARK_FILTER='SHA-256/64$|CBC-256/encrypt/16$|2048'
  bash -euxo pipefail commands
  exit
fi

# Commands and programs that stand in the text.
grep -oh '`[^`]*`' "${documents[@]}" | tr -d '`\\' | sort -u >"$work/spans"
sed -En 's/^([A-Z_]+=[0-9]+ )?ctest --preset [a-z]+ //p' "$work/spans" | while read -r arguments; do
  eval "ctest --test-dir '$build' -N $arguments" | grep -q '^Total Tests: [1-9]' || { echo "no tests: $arguments" >&2; exit 1; }
done
sed -En 's/^((\.|fuzz|tests|bench|cmake)\/[A-Za-z0-9_/.-]+)( .*)?$/\1/p' "$work/spans" | while read -r file; do
  [ -e "$root/$file" ] || { echo "no such file: $file" >&2; exit 1; }
  if [ -f "$root/$file" ] && [ "$(head -c 2 "$root/$file")" = '#!' ] && [ ! -x "$root/$file" ]; then
    echo "no program: $file" >&2
    exit 1
  fi
done

# What the programs in C are built against.
cmake --install "$build" --prefix "$work/installed" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$work/installed" -name zelspi.pc)")
export PKG_CONFIG_PATH LD_LIBRARY_PATH="${PKG_CONFIG_PATH%/*}"

for commands in "$work"/*/commands; do
  cd "${commands%/*}"
  ln -s "$build/zel-provider.jar" .
  PATH=$build:$PATH bash -euxo pipefail commands
done
# The examples of the Java documentation, each as a block of one program.
{
  echo 'import com.vantrel.zel.provider.*; import java.nio.charset.*; import java.security.*; import java.util.concurrent.*;'
  echo 'import javax.crypto.*; import javax.crypto.spec.*; class Examples { public static void main(String[] a) throws Exception {'
  cd "$root/java/provider/com/vantrel/zel/provider"
  cat package-info.java ZelSecurityProvider.java | sed -n '/<pre>{@code/,/}<\/pre>/ { s/^ [*] \{0,1\}//; s/<pre>{@code/{/; s/}<\/pre>/}/; p }'
  echo '}}'
} >"$work/Examples.java"
java -cp "$build/zel-provider.jar" "$work/Examples.java"
cmp "$work/program.md/letter.txt" "$work/program.md/copy.txt"
