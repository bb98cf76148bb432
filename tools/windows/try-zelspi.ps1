# Tries the library in this machine's JVM: try-zelspi.cmd, which does the work, from PowerShell.
# Usage: powershell -ExecutionPolicy Bypass -File try-zelspi.ps1 [FILE]
param([string] $File)
$script = Join-Path $PSScriptRoot 'try-zelspi.cmd'
if ($File) { & $script $File } else { & $script }
exit $LASTEXITCODE
