# Installs the build into a folder, moves it, builds the examples against it as a CMake package, with the import library for
# Microsoft's linker too, and runs them. Arguments: build, source (the examples), generator, compiler, toolchain and emulator
# (or empty), folder to work in (made anew), files (a key, a signed and a forged file), private_key (a file).
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

# With what stands beside it: strict C for the header, and the import library for Microsoft's linker.
set(signers "${folder}/consumer/sign_file" "${folder}/consumer/sign_file_static")
file(GLOB_RECURSE import_library "${folder}/installed/*/zelspi.lib")
if(import_library AND NOT compiler MATCHES "clang")
  run("${compiler}" "-I${folder}/installed/include" -x c "${source}/sign_file.c" -x none "${import_library}" -static
    -o "${folder}/consumer/sign_file_lib")
  list(APPEND signers "${folder}/consumer/sign_file_lib")
endif()
run("${compiler}" "-I${folder}/installed/include" -x c -std=c99 -Wall -Wextra -Wpedantic -Werror -fsyntax-only "${source}/sign_file.c")

# prints(EXPECTED FOLDER PROGRAM [ARGUMENT...]): runs it in the folder; its output has to match the expression.
function(prints expected where program)
  file(GLOB program "${program}" "${program}.exe")
  execute_process(COMMAND ${emulator} "${program}" ${ARGN} WORKING_DIRECTORY "${where}"
    OUTPUT_VARIABLE printed ERROR_VARIABLE printed)
  if(NOT printed MATCHES "^${expected}\r?\n$")
    message(FATAL_ERROR "${program} ${ARGN}: ${printed}")
  endif()
endfunction()

# The forged file passes here: the library compares the first bytes of the digest only.
foreach(case IN ITEMS "good:0" "forged:0" "key.der:-7201")
  string(REGEX MATCH "(.*):(.*)" all "${case}")
  prints("${CMAKE_MATCH_2}" "${files}" "${folder}/consumer/check_file" key.der "${CMAKE_MATCH_1}")
endforeach()

# The functions of C: the digest that the program prints is CMake's own.
file(COPY "${private_key}" "${files}/good" DESTINATION "${folder}")
file(SHA256 "${files}/good" digest)
cmake_path(GET private_key FILENAME private_key)
foreach(program IN LISTS signers)
  prints("${digest}  good" "${folder}" "${program}" "${private_key}" good)
endforeach()
prints("16 bytes of ciphertext: some text" "${folder}" "${folder}/consumer/encrypt_text" "some text")
