#!/bin/sh
# build.sh PROVIDER_JAR [FOLDER]: compiles the example against the provider's jar and runs it, as a module and from the class
# path. The classes go into FOLDER (./build by default).
set -eu
provider=$1
source=$(CDPATH= cd -- "$(dirname -- "$0")/src" && pwd)
classes=${2:-build}
main=com.example.notary.Notary

javac --release 11 -Xlint:all -Werror --module-path "$provider" -d "$classes" \
  "$source/module-info.java" "$source/com/example/notary/Notary.java"
echo "as a module:"
java --module-path "$provider:$classes" --module com.example.notary/$main
echo "from the class path:"
java --class-path "$provider:$classes" $main
