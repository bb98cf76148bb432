#!/usr/bin/env bash
# check-dist.sh ROOT WORK: makes dist/ twice in a fresh clone of the current commit, with unlike umasks and once at a terminal,
# compares the bytes with each other and with what ROOT, another folder, has built, and looks into what was made.
set -euo pipefail
root=$1
work=$2
rm -rf -- "$work"
mkdir -p "$work"
umask 077
git clone -q "$root" "$work/clone"
cd "$work/clone"
./dist.sh
mv dist "$work"
umask 022
chmod -R go+rX .
rm -rf build/dist/linux # what is not made anew is held to ROOT's
script -qec ./dist.sh /dev/null
diff "$work/dist/SHA256SUMS" dist/SHA256SUMS
for file in linux/zel-provider.jar windows/zelspi.dll windows/libzelspi.a windows/zelverify.exe; do
  cmp "build/dist/$file" "$root/build/${file/linux/release}"
done

cd dist
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
