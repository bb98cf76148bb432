#!/usr/bin/env bash
# tests/analyse.sh cppcheck|clang-tidy|memcheck...: what takes longer than a test should, one after the other. Ends with 1
# when any of them has anything to say.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.."

[ $# -gt 0 ] || { echo "usage: tests/analyse.sh cppcheck|clang-tidy|memcheck..." >&2; exit 2; }
status=0
for tool in "$@"; do
  echo "== $tool"
  case $tool in
    cppcheck)
      cmake/install-packages.sh cppcheck
      # uninitMemberVar: SecretArray leaves its elements as they are, on purpose; who reads them has written them.
      # duplInheritedMember: the shorter digests hide the constants of the hash that they are cut from, on purpose.
      # The others are misreadings: an array of kGroups + 1 taken for one of kGroups, a 64-bit mask taken for a pointer,
      # a variable initialised in a list of declarations.
      cppcheck --quiet --error-exitcode=1 --enable=warning,performance,portability --std=c++20 --language=c++ -j2 \
        -I . -I platform/posix -DZEL_X86_KERNELS --suppress=uninitMemberVar:core/memory/secret.h --suppress=duplInheritedMember:core/hash/sha*.cpp \
        --suppress=containerOutOfBounds:core/bignum/prime/candidate_sieve.cpp \
        --suppress=AssignmentIntegerToAddress:core/bignum/portable/montgomery_portable.cpp \
        --suppress=legacyUninitvar:core/hash/x86/sha512_rounds.inc \
        --template='{file}:{line}: {id}: {message}' core bridge platform/posix platform/*.cpp || status=1
      ;;
    clang-tidy)
      cmake/install-packages.sh cmake ninja-build clang clang-tidy openjdk-17-jdk-headless
      cmake --preset clang -D CMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
      git ls-files 'platform/posix/*.cpp' 'platform/*.cpp' 'core/*.cpp' 'bridge/*.cpp' | grep -v 'win32\|/arm/' |
        xargs -n 4 -P 2 clang-tidy -p build/clang --quiet 2>/dev/null || status=1
      ;;
    memcheck)
      cmake/install-packages.sh cmake ninja-build g++ openjdk-17-jdk-headless libgtest-dev valgrind
      cmake --preset release -D ZEL_BUILD_TESTS=ON >/dev/null
      cmake --build --preset release
      # The programs of the suite that are fast; valgrind makes them some thirty times slower.
      while read -r program; do
        echo "$program"
        valgrind --quiet --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
          "$program" --gtest_brief=1 --gtest_filter='-*Statistics*:*MillionA*:Stack.*:*Seeding*:*Depot*:SeedNoise.*' </dev/null || status=1
      done < <(find build/release/tests -type f -name '*_test' -perm -u+x ! -name '*long*' ! -name '*large*' | sort)
      ;;
    *) echo "no such analysis: $tool" >&2; exit 2 ;;
  esac
done
exit $status
