# Third-party dependencies, all from Debian packages (see scripts/install-deps.sh).
find_package(tinyxml2 REQUIRED CONFIG)

# Android's liblog as Debian packages it: headers under /usr/include/android,
# the library in /usr/lib/<triplet>/android.
find_path(HDRTM_LIBLOG_INCLUDE_DIR android/log.h PATHS /usr/include/android NO_DEFAULT_PATH)
find_library(HDRTM_LIBLOG_LIBRARY NAMES log
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android NO_DEFAULT_PATH)
if(NOT HDRTM_LIBLOG_INCLUDE_DIR OR NOT HDRTM_LIBLOG_LIBRARY)
  message(FATAL_ERROR "Android liblog not found: install android-liblog-dev")
endif()
add_library(hdrtm::liblog SHARED IMPORTED)
set_target_properties(hdrtm::liblog PROPERTIES
  IMPORTED_LOCATION ${HDRTM_LIBLOG_LIBRARY}
  IMPORTED_NO_SONAME OFF
  INTERFACE_INCLUDE_DIRECTORIES ${HDRTM_LIBLOG_INCLUDE_DIR})
