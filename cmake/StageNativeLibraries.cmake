# Lays the native libraries out as the provider's jar carries them: FOLDER/SYSTEM-MACHINE/library.
# Arguments: folder, linux (a file), windows (a file, or empty).
file(REMOVE_RECURSE "${folder}")
file(COPY "${linux}" DESTINATION "${folder}/linux-x86_64")
if(windows)
  file(COPY "${windows}" DESTINATION "${folder}/windows-x86_64")
endif()
