# Fails when the library imports a transcendental function (powf, logf,
# log10f, exp, sin, cbrt, ...) in any precision: its stages use the
# library's own correctly rounded maths, the same on every C library. sqrt
# may stay: IEEE 754 makes it exact.
#   cmake -DNM=<nm> -DLIBRARY=<libhdr_tm.so> -P maths_imports.cmake
execute_process(COMMAND ${NM} -D --undefined-only ${LIBRARY}
                OUTPUT_VARIABLE imports RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} could not list the imports of ${LIBRARY}")
endif()
set(name "(a?(sin|cos|tan)h?|atan2|sincos|exp(2|10|m1)?|log(2|10|1p|b)?|pow|cbrt|hypot|erfc?|[lt]gamma)[fl]?")
string(REGEX MATCHALL "U ${name}(@[^\n]*)?\n" found "${imports}")
list(LENGTH found count)
if(count GREATER 0)
  string(REPLACE ";" "" shown "${found}")
  message(FATAL_ERROR "${LIBRARY} imports ${count} transcendental function(s):\n${shown}"
                      "call crPowf, crLogf, crLog10f or crExp10f instead")
endif()
message(STATUS "no transcendental function imported by ${LIBRARY}")
