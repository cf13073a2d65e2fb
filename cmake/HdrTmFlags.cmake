# Compiler flags for every target. LUTs must be bit-exact on every CPU: single
# precision with each product and sum rounded on its own, so multiply-adds are
# never fused (Arm compilers fuse by default) and fast-math is refused.
foreach(flags_var CMAKE_CXX_FLAGS CMAKE_C_FLAGS CMAKE_CXX_FLAGS_RELEASE CMAKE_CXX_FLAGS_RELWITHDEBINFO)
  if("${${flags_var}}" MATCHES "fast-math|Ofast")
    message(FATAL_ERROR "${flags_var} asks for fast-math; LUTs must be bit-exact")
  endif()
endforeach()

add_compile_options(-ffp-contract=off -fno-fast-math -Wall -Wextra -Wshadow -Wno-unused-parameter)
# errno is never read after a maths call, so sqrtf may be the processor's own
# correctly rounded square root, inline and vectorised, instead of a call that
# exists only to set errno. Values are unchanged.
add_compile_options(-fno-math-errno)
# Plane loops must vectorise (element-wise vector arithmetic rounds exactly as
# scalar arithmetic does). GCC's -O2 takes a loop only when its trip count is
# a multiple of the vector width (the planes hold 4913 samples), so it weighs
# epilogues and alias checks as -O3 does; and GCC will not turn a clamp's
# comparisons into selects while it must keep floating-point exception flags,
# which clang (the device compiler) never keeps. Neither changes a value.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fvect-cost-model=dynamic -fno-trapping-math)
endif()
# Clang reports a point-independent loop it could not vectorise (sanitizer
# instrumentation, for one) as a warning; the loop is still correct.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-Wno-pass-failed)
endif()
# Without the clones every x86-64 processor runs the SSE2 baseline build.
# Sanitizer builds go without: their runtimes are not ready when the clones'
# load-time selectors run (ThreadSanitizer crashes there).
if(NOT HDRTM_FUNCTION_CLONES OR HDRTM_SANITIZE OR HDRTM_BUILD_FUZZERS)
  add_compile_definitions(HDRTM_NO_FUNCTION_CLONES)
endif()
if(HDRTM_WERROR)
  add_compile_options(-Werror)
endif()

# Fuzzing: every target carries libFuzzer's coverage instrumentation and runs
# under AddressSanitizer and UndefinedBehaviorSanitizer, so the library code a
# fuzzer reaches both guides it and is checked. libFuzzer is clang's.
if(HDRTM_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "HDRTM_BUILD_FUZZERS needs clang: -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14")
  endif()
  if(NOT HDRTM_SANITIZE)
    set(HDRTM_SANITIZE address,undefined)
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(HDRTM_SANITIZE)
  add_compile_options(-fsanitize=${HDRTM_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${HDRTM_SANITIZE})
endif()
