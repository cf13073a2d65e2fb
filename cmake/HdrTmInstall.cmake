# cmake --install: libhdr_tm.so with its soname and version, the public
# headers, a pkg-config file and a CMake package (find_package(hdr_tm) gives
# hdr_tm::hdr_tm), the host stand-ins it links against, and hdrtm.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(hdr_tm PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

# The installed library finds the stand-ins beside it and Debian's liblog in
# its own folder; hdrtm finds the library in ../lib.
get_filename_component(HDRTM_LIBLOG_DIR ${HDRTM_LIBLOG_LIBRARY} DIRECTORY)
set_target_properties(hdr_tm cutils-host krel-color PROPERTIES
  INSTALL_RPATH "$ORIGIN;${HDRTM_LIBLOG_DIR}")

set(HDRTM_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/hdr_tm)
set(HDRTM_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/hdr_tm)

install(TARGETS hdr_tm cutils-host krel-color
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${HDRTM_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

configure_file(${CMAKE_CURRENT_LIST_DIR}/hdr_tm.pc.in ${PROJECT_BINARY_DIR}/hdr_tm.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/hdr_tm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/hdr_tmConfig.cmake.in
  ${PROJECT_BINARY_DIR}/hdr_tmConfig.cmake
  INSTALL_DESTINATION ${HDRTM_INSTALL_CMAKEDIR}
  PATH_VARS HDRTM_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/hdr_tmConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/hdr_tmConfig.cmake ${PROJECT_BINARY_DIR}/hdr_tmConfigVersion.cmake
  DESTINATION ${HDRTM_INSTALL_CMAKEDIR})

if(HDRTM_BUILD_TOOLS)
  set_target_properties(hdrtm PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};${HDRTM_LIBLOG_DIR}")
  install(TARGETS hdrtm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
