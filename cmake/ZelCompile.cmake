# zel_compile: the language level, warnings and sanitizers that all our code is built with.
# zel_self_contained: links the language's runtime into the result, which then needs the operating system only.

add_library(zel_compile INTERFACE)
target_compile_features(zel_compile INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POLICY_DEFAULT_CMP0063 NEW)

if(MSVC)
  target_compile_options(zel_compile INTERFACE /W4)
else()
  target_compile_options(zel_compile INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror)
endif()

if(ZEL_SANITIZE)
  target_compile_options(zel_compile INTERFACE
    -fsanitize=${ZEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zel_compile INTERFACE -fsanitize=${ZEL_SANITIZE})
endif()

add_library(zel_self_contained INTERFACE)
if(WIN32 AND NOT MSVC)
  # Said although they are the linker's own choice today; without a time stamp the same sources give the same file.
  target_link_options(zel_self_contained INTERFACE
    -static -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
elseif(UNIX AND NOT ZEL_SANITIZE)
  target_link_options(zel_self_contained INTERFACE
    -static-libstdc++ -static-libgcc -Wl,--exclude-libs,ALL -Wl,-z,defs -Wl,-z,relro,-z,now)
endif()
