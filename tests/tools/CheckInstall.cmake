# Installs the build into a folder, moves it, builds the example against it as a CMake package and, natively, with
# pkg-config, and runs it. Arguments: build, source (the example), generator, compiler, toolchain and emulator (or empty),
# folder to work in (made anew), files (a key, a signed and a forged file).
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}:\n${printed}")
  endif()
endfunction()

file(REMOVE_RECURSE "${folder}")
run("${CMAKE_COMMAND}" --install "${build}" --prefix "${folder}/first")
file(RENAME "${folder}/first" "${folder}/installed")
set(options -G "${generator}" -D "CMAKE_CXX_COMPILER=${compiler}" -D "CMAKE_PREFIX_PATH=${folder}/installed"
  -D CMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
if(toolchain)
  list(APPEND options --toolchain "${toolchain}")
endif()
run("${CMAKE_COMMAND}" -S "${source}" -B "${folder}/consumer" ${options})
run("${CMAKE_COMMAND}" --build "${folder}/consumer")
file(GLOB programs "${folder}/consumer/check_file" "${folder}/consumer/check_file.exe")

if(NOT toolchain)
  find_program(pkg_config pkg-config REQUIRED)
  file(GLOB_RECURSE pc "${folder}/installed/*/zelspi.pc")
  cmake_path(GET pc PARENT_PATH pc_folder)
  set(ENV{PKG_CONFIG_PATH} "${pc_folder}")
  execute_process(COMMAND "${pkg_config}" --cflags --libs zelspi OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  cmake_path(GET pc_folder PARENT_PATH library_folder)
  run("${compiler}" "${source}/check_file.cpp" ${flags} "-Wl,-rpath,${library_folder}" -o "${folder}/check_file_pc")
  list(APPEND programs "${folder}/check_file_pc")
endif()

# The forged file passes here: the library compares the first bytes of the digest only.
foreach(program IN LISTS programs)
  foreach(case IN ITEMS "good:0" "forged:0" "key.der:-7201")
    string(REGEX MATCH "(.*):(.*)" all "${case}")
    execute_process(COMMAND ${emulator} "${program}" key.der "${CMAKE_MATCH_1}" WORKING_DIRECTORY "${files}"
      OUTPUT_VARIABLE printed)
    if(NOT printed MATCHES "^${CMAKE_MATCH_2}\r?\n$")
      message(FATAL_ERROR "${program} ${case}: ${printed}")
    endif()
  endforeach()
endforeach()
