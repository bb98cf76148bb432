# Holds what the library exports against entry_points.txt: exactly those entry points, and beside them nothing but the
# engine classes (Zel..., ShaDigestEngine). Arguments: library, nm, objdump, windows (boolean), expected (a file).

if(windows)
  execute_process(COMMAND "${objdump}" -p "${library}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" text "${text}")
  string(REGEX MATCHALL "\\[ *[0-9]+\\] [A-Za-z0-9_]+" lines "${text}")
else()
  execute_process(COMMAND "${nm}" -D --defined-only "${library}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[0-9a-f]+ [A-Z] [A-Za-z0-9_]+" lines "${text}")
endif()
list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE names)

set(entry_points ${names})
list(FILTER entry_points INCLUDE REGEX "^Java_")
list(SORT entry_points)
file(STRINGS "${expected}" wanted)
list(SORT wanted)
list(LENGTH entry_points count)
if(NOT entry_points STREQUAL wanted)
  list(JOIN entry_points "\n  " found)
  message(FATAL_ERROR "the exported entry points are not the expected ones:\n  ${found}")
endif()

# Mangled names of members (_ZN, _ZNK), tables and type information (_ZT.) of the engine classes.
set(others ${names})
list(FILTER others EXCLUDE REGEX "^Java_|^_ZN?K?[0-9]*(Zel[A-Z]|ShaDigestEngine)|^_ZN?K?T?[A-Z]*[0-9]+(Zel[A-Z]|ShaDigestEngine)")
if(others)
  list(JOIN others "\n  " found)
  message(FATAL_ERROR "exported beside the entry points and engine classes:\n  ${found}")
endif()
message("${count} entry points")
