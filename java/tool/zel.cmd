@echo off
rem zel: runs zel-tool.jar, which lies beside this script.
setlocal
set "JAVA=java"
if defined JAVA_HOME set "JAVA=%JAVA_HOME%\bin\java.exe"
"%JAVA%" -XX:+UseSerialGC -jar "%~dp0zel-tool.jar" %*
exit /b %ERRORLEVEL%
