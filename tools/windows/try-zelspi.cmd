@echo off
rem Tries the library in this machine's JVM: runs the sample program and the Java tests from the unpacked zip, beside this
rem script. Needs a JDK or JRE, 11 or newer, in JAVA_HOME or on the path, and nothing else.
rem Usage: try-zelspi.cmd [FILE]    FILE: what the sample program works on; else the library itself
rem Exits with 0 when all went well, 1 when the sample or a test failed, 2 without Java.
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

echo == the sample program
"%java%" -Xcheck:jni -cp "%here%zel-provider.jar;%here%zel-sample.jar" com.vantrel.zel.sample.Sample "%file%"
if errorlevel 1 exit /b 1

echo == the Java tests
"%java%" -Xcheck:jni -Xmx512m "-Dzel.provider.jar=%here%zel-provider.jar" "-Dzel.sample.jar=%here%zel-sample.jar" "-Dzel.library=%here%zelspi.dll" -cp "%here%zel-provider.jar;%here%zel-sample.jar;%here%tests\zel-tests.jar;%here%tests\junit\*" org.junit.platform.console.ConsoleLauncher --disable-banner --details=tree --fail-if-no-tests --scan-classpath "%here%tests\zel-tests.jar"
if errorlevel 1 exit /b 1
echo == all went well
