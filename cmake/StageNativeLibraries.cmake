# Lays the native libraries out as the provider's jar carries them, FOLDER/SYSTEM-MACHINE/library, and touches the stamp when
# anything has changed. Arguments: folder, libraries (a list of SYSTEM-MACHINE=FILE; a file may be missing), stamp (a file).

set(changed FALSE)

# Copies the library, or removes the copy of one that is gone.
function(stage library system)
  cmake_path(GET library FILENAME name)
  set(copy "${folder}/${system}/${name}")
  if(NOT EXISTS "${library}")
    if(EXISTS "${copy}")
      file(REMOVE_RECURSE "${folder}/${system}")
      set(changed TRUE PARENT_SCOPE)
    endif()
  else()
    execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${library}" "${copy}"
      RESULT_VARIABLE differs OUTPUT_QUIET ERROR_QUIET)
    if(differs)
      file(MAKE_DIRECTORY "${folder}/${system}")
      file(COPY_FILE "${library}" "${copy}")
      set(changed TRUE PARENT_SCOPE)
    endif()
  endif()
endfunction()

foreach(library IN LISTS libraries)
  string(REGEX MATCH "^([^=]*)=(.*)$" library "${library}")
  stage("${CMAKE_MATCH_2}" "${CMAKE_MATCH_1}")
endforeach()
if(changed OR NOT EXISTS "${stamp}")
  file(TOUCH "${stamp}")
endif()
