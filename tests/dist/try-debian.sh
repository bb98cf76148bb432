#!/usr/bin/env bash
# try-debian.sh DIST BUILD SOURCE WORK: asks lintian about the Debian packages in DIST, then installs, uses and removes them in
# an empty Debian that debootstrap lays into WORK, beginning with a package as it was before there were four. Wants root.
set -euo pipefail
[ "$(id -u)" -eq 0 ] || { echo "try-debian.sh: root is needed for a Debian of its own" >&2; exit 1; }
[ "${ZEL_OWN_MOUNTS:-}" ] || ZEL_OWN_MOUNTS=1 exec unshare --mount "$0" "$@" # mounts end with this script
dist=$1
build=$2
source=$3
work=$4
said=$(lintian --allow-root --tag-display-limit 0 "$dist"/*.deb 2>&1)
[ -z "$said" ] || { echo "$said" >&2; exit 1; }

# The empty system is kept beside WORK/debian for the next run; it is what takes long.
mkdir -p "$work"
if [ ! -f "$work/empty/done" ]; then
  rm -rf -- "$work/empty"
  debootstrap --variant=minbase bookworm "$work/empty" >"$work/debootstrap.log" || { tail -n 20 "$work/debootstrap.log" >&2; exit 1; }
  touch "$work/empty/done"
fi
root=$work/debian
rm -rf --one-file-system -- "$root"
cp -a "$work/empty" "$root"
(cd "$root" && find . -xdev \( -name '*zel*' -o -name '*.jsa*' \) | sort) >"$work/before"
cp /etc/resolv.conf "$root/etc" 2>/dev/null || true
mkdir "$root/packages"
cp "$dist"/*.deb "$root/packages"
mount -t proc proc "$root/proc"
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 "$@"; }
apt() { inside apt-get -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >"$work/apt.log" 2>&1 || { cat "$work/apt.log" >&2; exit 1; }; }
fail() { echo "try-debian.sh: $*" >&2; exit 1; }

# Before: one package, with the program and the library where a JVM finds it.
old=$work/old
rm -rf -- "$old"
mkdir -p "$old/DEBIAN" "$old/usr/bin" "$old/usr/lib/x86_64-linux-gnu"
printf 'Package: libzelspi-dev\nVersion: 0.1.0\nArchitecture: amd64\nMaintainer: none <none@none.invalid>\nDescription: before\n' \
  >"$old/DEBIAN/control"
touch "$old/usr/bin/zelverify" "$old/usr/lib/x86_64-linux-gnu/libzelspi.so"
dpkg-deb --build "$old" "$root/packages/old.deb" >/dev/null
apt install /packages/old.deb
rm "$root/packages/old.deb"

# Upgraded, with the others beside it: all of them work.
apt update
apt install $(cd "$root" && echo packages/*.deb | sed 's|packages/|/&|g')
[ ! -e "$root/usr/lib/x86_64-linux-gnu/libzelspi.so" ] || fail "a JVM would load the library of the system"
inside zel info --self-test | grep '/usr/share/zel/zel-provider.jar!' >/dev/null || fail "zel info"
inside sh -c 'cd /tmp && printf abc >file && zel digest file && zel keygen rsa --output key && zel sign --key key file &&
  zelverify key.pub file' >"$work/said"
grep -q ba7816bf8f01cfea "$work/said" && grep -q 'file: valid' "$work/said" || fail "zel digest, or zelverify"
inside bash -euc '. /usr/share/bash-completion/completions/zel; COMP_WORDS=(zel inf) COMP_CWORD=1; _complete_zel
  [ "${COMPREPLY[*]}" = info ]' || fail "completion"
for page in zel zel-sign zelverify; do
  man -l --warnings "$root/usr/share/man/man1/$page.1.gz" 2>&1 >/dev/null | grep . && fail "manual page $page"
done
export PKG_CONFIG_LIBDIR=$root/usr/lib/x86_64-linux-gnu/pkgconfig
c++ -std=c++20 "$source/examples/native/check_file.cpp" -o "$root/check_file" \
  $(pkg-config --define-variable=pcfiledir="$PKG_CONFIG_LIBDIR" --cflags --libs zelspi)
cp "$source"/tests/tools/{key.der,good,good.sig} "$root"
[ "$(inside /check_file key.der good)" = 0 ] || fail "a native program"

# A JVM that brings a provider of its own keeps to that one.
mkdir "$root/own"
cp "$build"/{zel-tool,zel-provider,picocli}.jar "$root/own"
inside java -jar /own/zel-tool.jar info | grep 'jar:file:/own/zel-provider.jar!' >/dev/null || fail "another library than its own is loaded"

# Removed: nothing is left.
rm -r "$root/own" "$root/packages"/*.deb
apt purge zel libzel-provider-java libzelspi-dev libzelspi0
(cd "$root" && find . -xdev \( -name '*zel*' -o -name '*.jsa*' \) ! -path './var/lib/apt/*' ! -path './usr/lib/jvm/*' | sort) >"$work/after"
diff "$work/before" "$work/after" || fail "something is left"
