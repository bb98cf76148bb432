#!/usr/bin/env bash
# make-debs.sh BUILD VERSION WORK OUT: makes the Debian packages of the build folder BUILD, which is configured for the prefix
# /usr, in the folder OUT; WORK is made anew. Their dates are those of SOURCE_DATE_EPOCH.
#   libzelspi0               the library for native programs
#   libzelspi-dev            its headers, archive, CMake package and pkg-config file
#   libzel-provider-java     the Java provider, as Maven has it
#   zel                      the programs zel and zelverify, with manual pages and completion
# A JVM looks for libzelspi.so in the system's library folders. So the link of that name, which linkers want, stands in a
# folder of its own, and no package changes what a JVM loads.
set -euo pipefail
build=$1
version=$2
revision=$2-1
work=$3
out=$4
root=$(CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")/.." && pwd)
architecture=$(dpkg --print-architecture)
libdir=usr/lib/$(gcc -print-multiarch)
maintainer="zelspi maintainers <maintainers@zelspi.invalid>" # Debian wants an address; ".invalid" says that there is none
umask 022
rm -rf -- "$work"
mkdir -p "$work/debian"

# take PACKAGE FILE...: moves what cmake has installed into the package's tree.
take() {
  local package=$1 file
  shift
  for file in "$@"; do
    mkdir -p "$work/$package/${file%/*}"
    mv "$work/all/$file" "$work/$package/$file"
  done
}

# package NAME SECTION DEPENDS SUMMARY DESCRIPTION [FIELD...]: adds what every package has, and packs it.
package() {
  local name=$1 tree=$work/$1 section=$2 depends=$3 summary=$4 description=$5
  local documents=$tree/usr/share/doc/$name
  shift 5
  mkdir -p "$documents" "$tree/DEBIAN"
  cat >"$documents/copyright" <<END
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: zelspi

Files: *
Copyright: 2026 the zelspi authors
License: Apache-2.0
 On Debian systems the full text is in /usr/share/common-licenses/Apache-2.0.
END
  mkdir -p "$tree/usr/share/lintian/overrides"
  {
    echo "# There is no wish for this package at Debian that its first version could close."
    echo "$name: initial-upload-closes-no-bugs *"
    if [ "$name" = libzelspi0 ]; then
      echo "# The link stands in $libdir/zelspi, where pkg-config leads: here every JVM would find it."
      echo "$name: lacks-unversioned-link-to-shared-library *"
    fi
  } >"$tree/usr/share/lintian/overrides/$name"
  printf '%s (%s) unstable; urgency=medium\n\n  * Release %s; see changelog.gz.\n\n -- %s  %s\n' "$name" "$revision" "$version" \
    "$maintainer" "$(date -R -d "@$SOURCE_DATE_EPOCH")" | gzip -9n >"$documents/changelog.Debian.gz"
  gzip -9nc "$root/CHANGELOG.md" >"$documents/changelog.gz"
  find "$tree" -type f -name '*.so.*' -exec strip --strip-unneeded --remove-section=.comment {} +
  find "$tree" -type f -name '*.a' -exec strip --strip-debug --enable-deterministic-archives {} +
  find "$tree/usr" -type f -path '*/bin/*' -exec strip --strip-unneeded --remove-section=.comment {} +
  (cd "$tree" && find usr -type f -printf '%P\n' | sort | sed 's|^|usr/|' | xargs md5sum) >"$tree/DEBIAN/md5sums"
  {
    printf '%s\n' "Package: $name" "Source: zelspi" "Version: $revision" "Architecture: $architecture" "Maintainer: $maintainer" \
      "Section: $section" "Priority: optional" "Installed-Size: $(du -k -s --apparent-size --exclude=DEBIAN "$tree" | cut -f1)"
    [ -z "$depends" ] || echo "Depends: $depends"
    [ $# -eq 0 ] || printf '%s\n' "$@"
    printf 'Description: %s\n' "$summary"
    fold -s -w 76 <<<"$description" | sed 's/ *$//; s/^/ /'
  } >"$tree/DEBIAN/control"
  dpkg-deb --root-owner-group -Zxz --build "$tree" "$out/${name}_${revision}_$architecture.deb" >/dev/null
}

# needs FILE...: which packages these need to run.
needs() {
  (cd "$work" && touch debian/control && dpkg-shlibdeps -O "$@" 2>/dev/null) | sed 's/^shlibs:Depends=//'
}

DESTDIR=$work/all cmake --install "$build" >/dev/null
library="The library zelspi has SHA-1 and SHA-256, AES-256-CBC, RSA, DSA, a FIPS 186-2 random generator, and the check of a file \
against a detached signature. It depends on nothing but the operating system."

# The library.
soname=$(basename "$(echo "$work/all/$libdir"/libzelspi.so.?)")
take libzelspi0 "$libdir/$soname" "$(cd "$work/all" && echo "$libdir"/libzelspi.so.*.*.*)"
mkdir -p "$work/libzelspi0/DEBIAN"
echo "libzelspi ${soname##*.} libzelspi0 (>= $version)" >"$work/libzelspi0/DEBIAN/shlibs"
echo "activate-noawait ldconfig" >"$work/libzelspi0/DEBIAN/triggers"
package libzelspi0 libs "$(needs "libzelspi0/$libdir/$soname")" "native cryptographic library" "$library" \
  "Multi-Arch: same"

# For those who build with it. /usr/share/doc has each package's own copy of the licence's name.
rm -r "$work/all/usr/share/doc" "$work/all/$libdir/libzelspi.so"
take libzelspi-dev usr/include/zelspi "$libdir/cmake" "$libdir/pkgconfig" "$libdir/libzelspi.a"
mkdir "$work/libzelspi-dev/$libdir/zelspi"
ln -s "../$soname" "$work/libzelspi-dev/$libdir/zelspi/libzelspi.so"
sed -i 's|^Libs: -L${libdir}|&/zelspi|' "$work/libzelspi-dev/$libdir/pkgconfig/zelspi.pc"
package libzelspi-dev libdevel "libzelspi0 (= $revision)" "native cryptographic library (development files)" \
  "$library This package has what is needed to build programs with it; pkg-config and CMake know where it lies."

# The Java provider: the jar that Maven has, the library inside.
java=usr/share/java
mkdir -p "$work/libzel-provider-java/$java"
cp "$build/zel-provider.jar" "$work/libzel-provider-java/$java/zel-provider-$version.jar"
ln -s "zel-provider-$version.jar" "$work/libzel-provider-java/$java/zel-provider.jar"
package libzel-provider-java java "" "Java security provider with native cryptography" \
  "The provider Zel brings the library zelspi to Java programs through the Java security API: SHA-1 and SHA-256, AES-256-CBC, RSA \
and DSA signatures and key pairs, and random numbers. It carries the library inside. Programs have to ask for it." \
  "Recommends: default-jre-headless | java11-runtime-headless"

# The programs. Those who had zelverify from libzelspi-dev get it from here.
take zel usr/bin/zelverify
mkdir -p "$work/zel/usr/share"/{zel,man/man1,bash-completion/completions}
cp "$build"/{zel,zel-tool.jar} "$work/zel/usr/share/zel"
ln -s ../java/zel-provider.jar ../java/picocli.jar "$work/zel/usr/share/zel"
ln -s ../share/zel/zel "$work/zel/usr/bin/zel"
date=$(date -u -d "@$SOURCE_DATE_EPOCH" +%Y-%m-%d)
java -cp "$build/zel-tool.jar" "$root/java/manual/ManualPages.java" "$work/zel/usr/share/man/man1" "$version" "$date"
mv "$work/zel/usr/share/man/man1/zel.bash" "$work/zel/usr/share/bash-completion/completions/zel"
sed -i 1d "$work/zel/usr/share/bash-completion/completions/zel" # no program by itself
{
  printf '.TH ZELVERIFY 1 %s "zelverify %s" "User Commands"\n' "$date" "$version"
  printf '.SH NAME\nzelverify \\- check a file against its detached signature\n.SH SYNOPSIS\nzelverify KEY FILE\n.SH DESCRIPTION\n.nf\n'
  "$build/zelverify" --help | sed '1,2d; s/-/\\-/g'
  printf '.fi\n.SH SEE ALSO\n.BR zel (1)\n'
} >"$work/zel/usr/share/man/man1/zelverify.1"
gzip -9n "$work/zel/usr/share/man/man1"/*
package zel utils "$(needs zel/usr/bin/zelverify), libzel-provider-java (= $revision), libpicocli-java, \
default-jre-headless (>= 2:1.11) | java11-runtime-headless" "cryptography at a terminal" \
  "The program zel makes and checks digests, random numbers, keys, signatures and encrypted files, in the formats of other programs; \
zelverify checks detached RSA signatures of files without Java." \
  "Breaks: libzelspi-dev (<< 0.1.0-1)" "Replaces: libzelspi-dev (<< 0.1.0-1)"

left=$(cd "$work/all" && find . -type f -o -type l)
[ -z "$left" ] || { echo "make-debs.sh: installed by cmake, but in no package: $left" >&2; exit 1; }
