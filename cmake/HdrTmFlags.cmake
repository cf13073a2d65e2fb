# Compiler flags for every target. LUTs must be bit-exact on every CPU: single
# precision with each product and sum rounded on its own, so multiply-adds are
# never fused (Arm compilers fuse by default) and fast-math is refused.
foreach(flags_var CMAKE_CXX_FLAGS CMAKE_C_FLAGS CMAKE_CXX_FLAGS_RELEASE CMAKE_CXX_FLAGS_RELWITHDEBINFO)
  if("${${flags_var}}" MATCHES "fast-math|Ofast")
    message(FATAL_ERROR "${flags_var} asks for fast-math; LUTs must be bit-exact")
  endif()
endforeach()

add_compile_options(-ffp-contract=off -fno-fast-math -Wall -Wextra -Wshadow -Wno-unused-parameter)
if(HDRTM_WERROR)
  add_compile_options(-Werror)
endif()

if(HDRTM_SANITIZE)
  add_compile_options(-fsanitize=${HDRTM_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${HDRTM_SANITIZE})
endif()
