#!/usr/bin/env bash
# check-dist.sh ROOT WORK: makes dist/ in two fresh clones of the current commit, in folders of unlike names, with unlike umasks
# and one at a terminal, compares their bytes, and looks into what was made.
set -euo pipefail
root=$1
work=$2
rm -rf -- "$work"
mkdir -p "$work/some/longer"
for clone in a some/longer/b; do
  if [ "$clone" = a ]; then umask 022; else umask 077; fi
  git clone -q "$root" "$work/$clone"
  cd "$work/$clone"
  if [ "$clone" = a ]; then ./dist.sh; else script -qec ./dist.sh /dev/null; fi
done
diff "$work/a/dist/SHA256SUMS" "$work/some/longer/b/dist/SHA256SUMS"

cd "$work/a/dist"
sha256sum --quiet --check SHA256SUMS
has() { # has LISTING TEXT...: whether the listing names all of them
  local listing=$1 text
  shift
  for text in "$@"; do
    grep -qF -- "$text" <<<"$listing" || { echo "missing: $text" >&2; exit 1; }
  done
}
has "$(jar tf zel-provider-*.jar)" native/linux-x86_64/libzelspi.so native/linux-aarch64/libzelspi.so native/windows-x86_64/zelspi.dll module-info.class
has "$(dpkg-deb -c libzelspi-dev_*.deb)" /zelspi/libzelspi.so /libzelspi.a /include/zelspi/zel.h /include/zelspi/zel_util.h \
  zelspiConfig.cmake
jar xf zelspi-*-windows.zip try-zelspi.cmd zel.cmd
names=$(sed 's/%here%/\n&/g' try-zelspi.cmd | sed -n 's/^%here%\([^;"*]*\).*/\1/p' | tr '\\' /) # what the script wants beside it
has "$(jar tf zelspi-*-windows.zip)" $names picocli.jar try-zelspi.ps1 docs/windows.md native/include/zelspi/zel_util.h \
  native/include/zelspi/zel.h native/bin/zelverify.exe native/lib/libzelspi.dll.a native/lib/zelspi.lib native/lib/zelspi.def
mkdir "$work/unpacked"
unzip -q zelspi-*-windows.zip -d "$work/unpacked"
(cd "$work/unpacked" && grep -o ']([^)#]*' README.md docs/*.md | grep -v 'http' | while IFS=: read -r page link; do
  [ -e "$(dirname "$page")/${link#](}" ] || { echo "the zip's $page leads to ${link#](}" >&2; exit 1; }
done)
if grep -qv $'\r$' try-zelspi.cmd zel.cmd; then
  echo "a .cmd file with other line ends than Windows'" >&2
  exit 1
fi
tar xzf zel-*-linux.tar.gz
has "$(printf abc | zel-*/zel digest)" ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad
cp zelspi-*-windows.zip "$work/windows.zip"
