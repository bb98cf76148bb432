@echo off
rem zel: runs zel-tool.jar, which lies beside this script.
setlocal
for %%J in (java.exe) do set "JAVA=%%~$PATH:J"
if not "%JAVA_HOME%"=="" set "JAVA=%JAVA_HOME%\bin\java.exe"
if not exist "%JAVA%" (
    echo zel: no Java: version 11 or newer is needed, on the path or in JAVA_HOME 1>&2
    exit /b 2
)
"%JAVA%" -XX:+UseSerialGC -jar "%~dp0zel-tool.jar" %*
exit /b %ERRORLEVEL%
