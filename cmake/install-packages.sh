#!/usr/bin/env bash
# install-packages.sh PACKAGE...: installs the Debian packages of these names that the machine misses, and says which.
# The package lists are fetched only when something is missing and cannot be found in the lists at hand.
set -euo pipefail

missing=()
for package in "$@"; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(sudo)
fi
install() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

echo "installing: ${missing[*]}" >&2
install >&2 || { "${as_root[@]}" apt-get update >&2 && install >&2; }
