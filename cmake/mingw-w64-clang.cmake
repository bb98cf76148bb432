# The cross build for 64-bit Windows with clang, on the headers, libraries and linker of Debian's mingw-w64.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-libgcc-file-name
  OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET runtime PARENT_PATH runtime)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES "${runtime}/include/c++" "${runtime}/include/c++/x86_64-w64-mingw32")
# Clang finds neither the folder with the runtime's archives by itself, nor the threads that the standard library needs.
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-B${runtime} -L${runtime} -pthread")
endforeach()
# The tests read what mingw-w64's tools print.
set(CMAKE_NM x86_64-w64-mingw32-nm CACHE STRING "")
set(CMAKE_OBJDUMP x86_64-w64-mingw32-objdump CACHE STRING "")
set(CMAKE_DLLTOOL x86_64-w64-mingw32-dlltool CACHE STRING "")
