# Installs the build tree BUILD into WORKDIR/prefix and builds a small
# consumer of the library against it both ways, with pkg-config and with
# find_package(hdr_tm), runs each, and runs the installed hdrtm.
set(prefix ${WORKDIR}/prefix)
file(REMOVE_RECURSE ${WORKDIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  message("$ ${ARGN}\n${out}${err}")
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "exit status ${status}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
foreach(file lib/libhdr_tm.so lib/libhdr_tm.so.1 lib/libhdr_tm.so.1.0 include/hdr_tm/hdr_playback.h
             lib/pkgconfig/hdr_tm.pc lib/cmake/hdr_tm/hdr_tmConfig.cmake bin/hdrtm)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
run(${OBJDUMP} -p ${prefix}/lib/libhdr_tm.so.1.0)
if(NOT out MATCHES "SONAME +libhdr_tm\\.so\\.1\n")
  message(FATAL_ERROR "libhdr_tm.so.1.0 lacks the soname libhdr_tm.so.1")
endif()

# pkg-config, as a Makefile would use it.
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
run(${PKG_CONFIG} --cflags --libs hdr_tm)
separate_arguments(flags UNIX_COMMAND "${out}")
run(${CXX} -std=c++17 ${SOURCE}/consumer.cpp ${flags} -Wl,-rpath,${prefix}/lib -o ${WORKDIR}/consumer_pc)
run(${WORKDIR}/consumer_pc)

# The CMake package.
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORKDIR}/consumer_build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORKDIR}/consumer_build)
run(${WORKDIR}/consumer_build/consumer)

run(${prefix}/bin/hdrtm --version)
