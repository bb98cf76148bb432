@echo off
rem Tries the library in this machine's JVM: the program zel on a file, and the Java tests, from the unpacked zip beside this
rem script. Needs a JDK or JRE, 11 or newer, in JAVA_HOME or on the path, and nothing else.
rem Usage: try-zelspi.cmd [FILE]    FILE: what zel works on, leaving it as it is; else the library itself
rem JAVA_OPTS has options for the JVM of the tests, if it wants any.
rem Exits with 0 when all went well, 1 when zel or a test failed, 2 without Java.
setlocal
set "here=%~dp0"
set "java=java.exe"
if defined JAVA_HOME set "java=%JAVA_HOME%\bin\java.exe"
set "file=%~1"
if not defined file set "file=%here%zelspi.dll"

"%java%" -version
if errorlevel 1 (
    echo no Java: set JAVA_HOME to the folder of a JDK, or put java.exe on the path 1>&2
    exit /b 2
)

echo == the program zel
set "work=%TEMP%\try-zelspi-%RANDOM%"
mkdir "%work%"
rem The signature of the file is held against the decrypted copy, so that nothing else need compare the two.
call "%here%zel.cmd" info --then digest "%file%" --then random 32 --then keygen aes --output "%work%\aes.key" --then encrypt --key "%work%\aes.key" --output "%work%\encrypted" "%file%" --then decrypt --key "%work%\aes.key" --output "%work%\decrypted" "%work%\encrypted" --then keygen rsa --output "%work%\rsa.key" --then sign --key "%work%\rsa.key" --output "%work%\rsa.sig" "%file%" --then verify --key "%work%\rsa.key.pub" --signature "%work%\rsa.sig" "%work%\decrypted" --then keygen dsa --output "%work%\dsa.key" --then sign --key "%work%\dsa.key" --output "%work%\dsa.sig" "%file%" --then verify --key "%work%\dsa.key.pub" --signature "%work%\dsa.sig" "%work%\decrypted"
set "result=%ERRORLEVEL%"
rmdir /s /q "%work%"
if not %result% == 0 exit /b 1

rem java.library.path has the current folder on Windows; the tests want the library where they put it.
cd /d "%TEMP%"

echo == every native method against a hostile caller
"%java%" %JAVA_OPTS% -Xcheck:jni -Xmx512m "-Djava.library.path=%here%." -cp "%here%zel-provider.jar;%here%tests\classes" com.vantrel.zel.provider.HostileCalls 300000
if errorlevel 1 exit /b 1

echo == the Java tests
"%java%" %JAVA_OPTS% -Xcheck:jni -Xmx512m "-Dzel.provider.jar=%here%zel-provider.jar" "-Dzel.tool.jar=%here%zel-tool.jar" "-Dzel.library=%here%zelspi.dll" -cp "%here%zel-provider.jar;%here%zel-tool.jar;%here%tests\classes;%here%tests\junit\*" org.junit.platform.console.ConsoleLauncher --disable-banner --disable-ansi-colors --details=tree --fail-if-no-tests --scan-classpath "%here%tests\classes"
if errorlevel 1 exit /b 1
echo == all went well
