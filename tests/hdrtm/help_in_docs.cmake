# Checks that DOC quotes `hdrtm COMMAND --help` exactly as TOOL prints it,
# so the reference cannot drift from the tool.
execute_process(COMMAND ${EMULATOR} ${TOOL} ${COMMAND} --help
  RESULT_VARIABLE result OUTPUT_VARIABLE help)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "hdrtm ${COMMAND} --help exited with ${result}")
endif()
string(REPLACE "${TOOL}" "hdrtm" help "${help}")
string(STRIP "${help}" help)
file(READ ${DOC} doc)
string(FIND "${doc}" "${help}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${DOC} does not quote `hdrtm ${COMMAND} --help` as it now reads:\n${help}")
endif()
