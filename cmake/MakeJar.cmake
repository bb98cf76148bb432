# Makes a jar that has the same bytes whenever its files have: the entries in order, all with one date.
# Arguments: jar (the program), out, manifest, date (as for jar --date), folders (a list; all files below each, by their
# paths in it).

set(entries)
foreach(folder IN LISTS folders)
  file(GLOB_RECURSE files RELATIVE "${folder}" "${folder}/*")
  foreach(file IN LISTS files)
    string(APPEND entries "-C \"${folder}\" \"${file}\"\n")
  endforeach()
endforeach()
file(WRITE "${out}.entries" "${entries}")
execute_process(COMMAND "${jar}" --create --file "${out}" --date "${date}" --manifest "${manifest}" "@${out}.entries"
  COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE "${out}.entries")
