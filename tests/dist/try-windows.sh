#!/usr/bin/env bash
# try-windows.sh ZIP JAVA_HOME WORK [JVM OPTION...]: does under wine with a Java for Windows what docs/windows.md tells to do
# with the zip, in a folder whose name has a space and a letter outside ASCII, and looks at the exit codes of both scripts.
set -euo pipefail
zip=$1
work=$3/un\ packed\ ä
export JAVA_HOME="Z:${2//\//\\}"
shift 3
export LC_ALL=C.UTF-8 JAVA_OPTS=$* # the locale names the files; wine's code page is that of Western Europe then
unset TERM # on Windows it means a terminal that shows colours
rm -rf -- "$work"
mkdir -p "$work"
cd "$work"
unzip -q "$zip"
wine=(/usr/lib/wine/wine64 cmd /c)

ends() { # ends CODE COMMAND [ARGUMENT...]: runs it without words and expects that exit code
  local code=0
  "${wine[@]}" "${@:2}" >said 2>&1 || code=$?
  [ "$code" -eq "$1" ] || { echo "${*:2} ended with $code, not with $1:" >&2; cat said >&2; exit 1; }
}
printf abc >'my file.txt'
(export WINEPATH="$JAVA_HOME\\bin" && unset JAVA_HOME && ends 0 zel.cmd digest 'my file.txt')
grep -q ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad said
ends 2 zel.cmd digest nowhere
ends 1 try-zelspi.cmd nowhere
for script in zel.cmd try-zelspi.cmd; do
  JAVA_HOME='Z:\nowhere' ends 2 $script
  grep -q 'no Java' said
done

# What the zip's README shows, one command after the other, each of which must end with 0.
awk '/^```/ { inside = $0 == "```bat"; next } inside && !/^try-/ { print ($1 == "echo" ? "" : "call ") $0 "\r"; print "if errorlevel 1 exit /b 1\r" }' README.md >readme.cmd
(export WINEPATH="$JAVA_HOME\\bin" && ends 0 readme.cmd)
grep -q 'letter.txt: valid' said && cmp letter.txt copy.txt

"${wine[@]}" try-zelspi.cmd 'my file.txt'
