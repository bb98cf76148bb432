# Runs try-zelspi.cmd and zel.cmd under wine, from a folder with a space in its name, on a stand-in for java.exe that prints
# what it is given. Arguments: script, zel, java (the stand-in), wine (a list), work (a folder of the test's own).

file(REMOVE_RECURSE "${work}")
set(unpacked "${work}/un packed")
set(home "${work}/java home")
file(COPY "${script}" "${zel}" DESTINATION "${unpacked}")
file(MAKE_DIRECTORY "${home}/bin")
file(COPY_FILE "${java}" "${home}/bin/java.exe")

# try(EXPECTED_RESULT JAVA_HOME FAILS_AT [ARGUMENT...]): runs the script ${program}; `said` is then what it printed.
set(program try-zelspi.cmd)
function(try expected java_home fails_at)
  set(ENV{JAVA_HOME} "${java_home}")
  set(ENV{FAKE_JAVA_FAILS_AT} "${fails_at}")
  execute_process(COMMAND ${wine} cmd /c ${program} ${ARGN} WORKING_DIRECTORY "${unpacked}"
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT result EQUAL expected)
    message(FATAL_ERROR "exit code ${result}, not ${expected}:\n${output}\n${errors}")
  endif()
  set(said "${output}${errors}" PARENT_SCOPE)
endfunction()

function(expect_said)
  foreach(text IN LISTS ARGN)
    string(FIND "${said}" "${text}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "not said: ${text}\n${said}")
    endif()
  endforeach()
endfunction()

set(launcher "<org.junit.platform.console.ConsoleLauncher>")
try(0 "${home}" "" "my file.txt")
expect_said("<-version>" "<digest>" "<my file.txt>" "${launcher}" "un packed\\tests\\zel-tests.jar>"
  "all went well")
try(0 "${home}" "")
expect_said("un packed\\zelspi.dll>")
try(1 "${home}" digest)
if(said MATCHES ConsoleLauncher)
  message(FATAL_ERROR "the tests ran after zel had failed")
endif()
try(1 "${home}" org.junit.platform.console.ConsoleLauncher)
try(2 "${work}/nowhere" "")
expect_said("no Java")

set(program zel.cmd)
try(0 "${home}" "" digest "my file.txt")
expect_said("<-jar>" "un packed\\zel-tool.jar>" "<digest>" "<my file.txt>")
try(1 "${home}" digest digest)
