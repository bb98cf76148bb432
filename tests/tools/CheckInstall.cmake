# Installs the build into a folder, moves it, builds the examples against it as a CMake package and, natively, with pkg-config,
# or with the import library for Microsoft's linker, and runs them. Arguments: build, source (the examples), generator,
# compiler, toolchain and emulator (or empty), folder to work in (made anew), files (a key, a signed and a forged file),
# private_key (a file).
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
file(GLOB signers "${folder}/consumer/sign_file*")
file(GLOB encrypters "${folder}/consumer/encrypt_text*")

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
  run("${compiler}" -x c -std=c99 -Wall -Wextra -Wpedantic -Werror "${source}/sign_file.c" -x none ${flags}
    "-Wl,-rpath,${library_folder}" -o "${folder}/consumer/sign_file_pc")
  list(APPEND signers "${folder}/consumer/sign_file_pc")
else()
  file(GLOB_RECURSE import_library "${folder}/installed/*/zelspi.lib")
  if(import_library AND NOT compiler MATCHES "clang")
    run("${compiler}" "-I${folder}/installed/include" -x c "${source}/sign_file.c" -x none "${import_library}" -static
      -o "${folder}/consumer/sign_file_lib.exe")
    list(APPEND signers "${folder}/consumer/sign_file_lib.exe")
  endif()
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

# The functions of C: the digest that the program prints is CMake's own.
file(COPY "${private_key}" "${files}/good" DESTINATION "${folder}")
cmake_path(GET private_key FILENAME private_key)
file(SHA256 "${files}/good" digest)
list(FILTER signers INCLUDE REGEX "sign_file(_static|_lib|_pc)?(.exe)?$")
list(FILTER encrypters INCLUDE REGEX "encrypt_text(.exe)?$")
foreach(program IN LISTS signers)
  execute_process(COMMAND ${emulator} "${program}" "${private_key}" good WORKING_DIRECTORY "${folder}"
    OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
  if(NOT printed MATCHES "^${digest}  good\r?\n$")
    message(FATAL_ERROR "${program}: ${printed}")
  endif()
endforeach()
execute_process(COMMAND ${emulator} "${encrypters}" "some text" OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
if(NOT printed MATCHES "^16 bytes of ciphertext: some text\r?\n$")
  message(FATAL_ERROR "${encrypters}: ${printed}")
endif()
