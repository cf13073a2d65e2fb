# Fails when the library's machine code holds a float minimum or maximum
# instruction. Their signed-zero and NaN rules are not those of the engine's
# clamps (Arm's fmax makes max(-0, +0) = +0, fmaxnm drops NaN; the operand
# order of x86's maxss decides which input a NaN or a zero gives), and a
# compiler may form them from a comparison and select of floats; the engine
# compares bit patterns instead, so none should be left.
#   cmake -DOBJDUMP=<objdump> -DLIBRARY=<libhdr_tm.so> -P float_minmax_instructions.cmake
execute_process(COMMAND ${OBJDUMP} -d --no-show-raw-insn ${LIBRARY}
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR listing STREQUAL "")
  message(FATAL_ERROR "${OBJDUMP} could not disassemble ${LIBRARY}")
endif()
# Arm: fmax, fmin, fmaxnm, fminnm and their pairwise and across-vector forms.
# x86: maxss/maxps/maxsd/maxpd, the min ones, their VEX/EVEX forms and vrange.
set(mnemonic "[ \t](f(max|min)(nm)?[pv]?|v?(max|min)(ss|ps|sd|pd)|vrange(ss|ps|sd|pd))[ \t]")
string(REGEX MATCHALL "[^\n]*${mnemonic}[^\n]*" found "${listing}")
list(LENGTH found count)
if(count GREATER 0)
  list(SUBLIST found 0 10 shown)
  string(REPLACE ";" "\n" shown "${shown}")
  message(FATAL_ERROR "${count} float min/max instruction(s) in ${LIBRARY}, first:\n${shown}\n"
                      "a clamp, minimum or maximum of floats was written as a comparison and select; "
                      "use the helpers of tm_common.h")
endif()
message(STATUS "no float min/max instruction in ${LIBRARY}")
