# The Windows clock under wine against the clock of the system that wine runs on: its time stamp lies between two readings
# of that one, give or take the millisecond that both may cut off.
# Arguments: command (a list).

function(read_host_clock result)
  execute_process(COMMAND date +%s%3N OUTPUT_VARIABLE unix OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  math(EXPR since1601 "${unix} + 11644473600000")
  set(${result} "${since1601}" PARENT_SCOPE)
endfunction()

read_host_clock(before)
execute_process(COMMAND ${command} OUTPUT_VARIABLE stamp COMMAND_ERROR_IS_FATAL ANY)
read_host_clock(after)
math(EXPR early "${stamp} - ${before} + 1")
math(EXPR late "${after} - ${stamp} + 1")
if(early LESS 0 OR late LESS 0)
  message(FATAL_ERROR "${stamp} is not between ${before} and ${after}")
endif()
message("${stamp}: between ${before} and ${after}")
