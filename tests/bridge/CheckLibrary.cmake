# Holds the built library against what it is to be: it exports exactly the expected entry points and the C
# functions of zelspi.def, which are those of zel.h, and beside them only the engine classes, and it needs nothing but the
# operating system: on Linux with glibc 2.35, as the README says.
# Arguments: library, nm, objdump, windows (boolean), sanitized (empty when not), entry_points, functions (the folder of zel.h),
# soname (for Linux); for Windows also strings (the program) and version.

execute_process(COMMAND "${objdump}" -p "${library}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
if(windows)
  string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [A-Za-z0-9_]+" lines "${headers}")
  string(REGEX MATCHALL "DLL Name: [^\n]+" needed "${headers}")
  set(system "^(KERNEL32|msvcrt|bcrypt)\\.dll$")
else()
  execute_process(COMMAND "${nm}" -D --defined-only "${library}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[0-9a-f]+ [A-Za-z] [A-Za-z0-9_]+" lines "${text}")
  string(REGEX MATCHALL "NEEDED +[^\n]+|GLIBC_2\\.(3[6-9]|[4-9][0-9])" needed "${headers}")
  set(system "^(libc|libm|ld-linux-[a-z0-9-]+)\\.so")
endif()
list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE names)
list(TRANSFORM needed REPLACE ".* " "")

# Beside the entry points and the C functions only the hook that a VM calls when it loads the library: it registers the methods of
# NativeInfo, which need no export then; and mangled names of members (_ZN, _ZNK), tables and type information (_ZT.) of the
# engine classes.
file(STRINGS "${functions}/zelspi.def" defined REGEX "^ +zel")
list(TRANSFORM defined STRIP)
file(READ "${functions}/zel.h" header)
string(REGEX MATCHALL "\nZEL_EXPORT [^(]+" declared "${header}")
list(TRANSFORM declared REPLACE ".*[ *]" "")
list(FILTER names EXCLUDE REGEX "^_Z(N|NK|T[IVS])[0-9]+(Zel[A-Z]|ShaDigestEngine)")
list(SORT names)
foreach(c_functions IN ITEMS defined declared)
  set(wanted JNI_OnLoad ${entry_points} ${${c_functions}})
  list(SORT wanted)
  if(NOT names STREQUAL wanted)
    list(JOIN names "\n  " names)
    message(FATAL_ERROR "exported are not the entry points and the functions ${c_functions} for C:\n  ${names}")
  endif()
endforeach()

if(NOT windows AND NOT headers MATCHES "SONAME +${soname}\n")
  message(FATAL_ERROR "the library is not called ${soname}")
endif()
list(FILTER needed EXCLUDE REGEX "${system}")
if(needed AND NOT sanitized)
  message(FATAL_ERROR "needed beside the operating system: ${needed}")
endif()

# For Windows: the platform layer stands on the named services; the library may be placed anywhere in the 64-bit address space,
# data is no code, and it has a version for people to look at.
if(windows)
  foreach(wanted IN ITEMS CreateMutexA WaitForSingleObject ReleaseMutex CloseHandle GetTickCount GetSystemTimeAsFileTime
      Sleep _beginthreadex GetSystemTime BCryptGenRandom HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT
      "Base Relocation Directory")
    if(NOT headers MATCHES "[ \t]${wanted}[ \n]")
      message(FATAL_ERROR "${wanted} is missing")
    endif()
  endforeach()
  if(headers MATCHES "relocations stripped|Entry 5 0000000000000000")
    message(FATAL_ERROR "the relocations are stripped")
  endif()
  execute_process(COMMAND "${strings}" --encoding=l "${library}" OUTPUT_VARIABLE texts COMMAND_ERROR_IS_FATAL ANY)
  if(NOT texts MATCHES "ProductVersion\n${version}\n")
    message(FATAL_ERROR "no version resource with ProductVersion ${version}")
  endif()
endif()
