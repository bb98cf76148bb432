#!/usr/bin/env bash
# ./dist.sh: makes dist/ from the current commit: a Maven repository with the provider's jar, the libraries for Linux, Linux on
# ARM and Windows inside; the program zel for Linux, the Debian packages, the zip for Windows, the bill of materials, and
# SHA256SUMS. The same commit gives the same bytes with the same compilers, wherever and whenever it is built.
set -euo pipefail
CDPATH= cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")"
umask 022

cmake/install-packages.sh cmake ninja-build g++ g++-aarch64-linux-gnu g++-mingw-w64-x86-64-posix openjdk-17-jdk-headless junit5 libpicocli-java \
  libgtest-dev dpkg-dev git zip python3
if [ -n "$(git status --porcelain)" ]; then
  echo "dist.sh: there are changes that no commit has; they are in what is made" >&2
fi
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8

work=$PWD/build/dist
linux=$work/linux
arm64=$work/arm64
windows=$work/windows
mkdir -p "$work"
build_all() {
  cmake --preset windows -B "$windows" -D ZEL_BUILD_TESTS=OFF -D "CMAKE_INSTALL_PREFIX=$work/zip/native" &&
  cmake --build "$windows" &&
  cmake --preset arm64 -B "$arm64" -D ZEL_BUILD_TESTS=OFF &&
  cmake --build "$arm64" --target zelspi &&
  cmake --preset release -B "$linux" -D ZEL_BUILD_TESTS=ON -D CMAKE_INSTALL_PREFIX=/usr \
    -D CMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON -D "ZEL_WINDOWS_LIBRARY=$windows/zelspi.dll" \
    -D "ZEL_ARM64_LIBRARY=$arm64/libzelspi.so" &&
  cmake --build "$linux" --target dist_inputs
}
echo "building (log: build/dist/build.log)"
if ! build_all >"$work/build.log" 2>&1; then
  tail -n 50 "$work/build.log" >&2
  exit 1
fi
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$linux/CMakeCache.txt")
rm -rf dist && mkdir dist

# The provider's jar, and the Maven repository, in which each file has its checksums beside it.
cp "$linux/zel-provider.jar" "dist/zel-provider-$version.jar"
group=dist/maven/com/vantrel/zel/zel-provider
mkdir -p "$group/$version"
for name in .jar -sources.jar -javadoc.jar .pom; do
  cp "$linux/zel-provider$name" "$group/$version/zel-provider-$version$name"
done
cat >"$group/maven-metadata.xml" <<END
<?xml version="1.0" encoding="UTF-8"?>
<metadata>
  <groupId>com.vantrel.zel</groupId>
  <artifactId>zel-provider</artifactId>
  <versioning>
    <latest>$version</latest>
    <release>$version</release>
    <versions>
      <version>$version</version>
    </versions>
    <lastUpdated>$(date -d "@$SOURCE_DATE_EPOCH" +%Y%m%d%H%M%S)</lastUpdated>
  </versioning>
</metadata>
END
for file in "$group/maven-metadata.xml" "$group/$version"/*; do
  for sum in md5 sha1 sha256; do
    "${sum}sum" "$file" | sed 's/ .*//' | tr -d '\n' >"$file.$sum"
  done
done

# The program zel for Linux.
tool=zel-$version
rm -rf "${work:?}/$tool" && mkdir "$work/$tool"
cp "$linux"/{zel,zel-tool.jar,zel-provider.jar,picocli.jar} LICENSE "$work/$tool"
tar -C "$work" --sort=name --mtime="@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX --format=ustar -c "$tool" |
  gzip -9n >"dist/$tool-linux.tar.gz"

# The Debian packages.
cmake/make-debs.sh "$linux" "$version" "$work/debs" dist

# What it is all made of.
cmake/make-sbom.py "$version" "$linux" "$arm64" "$windows" "$work/debs" >"dist/zelspi-$version.cdx.json"

# The zip for Windows: what a native caller needs, the program zel, and what tries all of it in a JVM there.
rm -rf "$work/zip" && mkdir "$work/zip"
cmake --install "$windows" >>"$work/build.log"
cp "$windows/zelspi.dll" "$linux"/{zel.cmd,zel-tool.jar,zel-provider.jar,picocli.jar} LICENSE "$work/zip"
mkdir -p "$work/zip/tests/junit"
cp -r "$linux/tests/java/classes" "$work/zip/tests"
cp -L $(sed 's/;/ /g' "$linux/junit-jars.txt") "$work/zip/tests/junit"
cp tools/windows/* "$work/zip"
cp -r docs "$work/zip"
# A link of the documents that leads out of the zip becomes plain text.
find "$work/zip/docs" -name '*.md' -print0 | while IFS= read -r -d '' page; do
  for target in $(grep -o '](\.\./[^)#]*' "$page" | sed 's/^](//' | sort -u); do
    [ -e "${page%/*}/$target" ] || sed -i -E "s|\[([^]]*)\]\(${target//./\\.}[^)]*\)|\1|g" "$page"
  done
done
chmod -R u=rwX,go=rX "$work/zip"
find "$work/zip" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
(cd "$work/zip" && find . -type f | LC_ALL=C sort | sed 's|^\./||' | zip -q -X -D -9 -@ "$OLDPWD/dist/zelspi-$version-windows.zip")

(cd dist && find . -type f ! -name '*.md5' ! -name '*.sha*' -printf '%P\n' | sort | xargs sha256sum -- >"$work/SHA256SUMS" && mv "$work/SHA256SUMS" .)
cat dist/SHA256SUMS
