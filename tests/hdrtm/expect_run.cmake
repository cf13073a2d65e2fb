# Runs TOOL with ARGS ("|"-separated) in WORKDIR and checks its exit status is
# STATUS and, when PATTERN is set, that its output (stdout and stderr) matches.
string(REPLACE "|" ";" arguments "${ARGS}")
file(REMOVE_RECURSE ${WORKDIR})
file(MAKE_DIRECTORY ${WORKDIR})
execute_process(COMMAND ${EMULATOR} ${TOOL} ${arguments}
  WORKING_DIRECTORY ${WORKDIR}
  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
message("${out}${err}")
if(NOT "${result}" STREQUAL "${STATUS}")
  message(FATAL_ERROR "exit status ${result}, expected ${STATUS}")
endif()
if(PATTERN AND NOT "${out}${err}" MATCHES "${PATTERN}")
  message(FATAL_ERROR "output does not match: ${PATTERN}")
endif()
