# Runs one example program: it must exit with status 0 and its standard
# output must match EXPECTED (a regular expression; \n stands for a newline).
# Arguments: PROGRAM, EXPECTED.

execute_process(COMMAND ${PROGRAM}
  RESULT_VARIABLE status
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err)
message("${out}${err}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} exited with ${status}")
endif()
string(REPLACE "\\n" "\n" pattern "${EXPECTED}")
if(NOT out MATCHES "^${pattern}$")
  message(FATAL_ERROR "${PROGRAM}: output does not match:\n${pattern}")
endif()
