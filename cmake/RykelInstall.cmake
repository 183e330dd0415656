# What `cmake --install build --prefix P` puts under P:
#   lib/librykel.so.<version> (+ SONAME link and .so)       the library
#   include/rykel/<area>/<header>.h                          the headers, as the sources include them
#   bin/rykel                                                the program
#   lib/python3.<minor>/site-packages/rykel*.so              the Python module (RYKEL_PYTHON_INSTALL_DIR)
#   lib/cmake/rykel/rykelConfig.cmake, ...Version.cmake, rykelTargets.cmake
#   lib/pkgconfig/rykel.pc
#   share/man/man1/rykel.1
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_compile_features(rykel PUBLIC cxx_std_20)

# Installed programs find the library relative to themselves, wherever the prefix is.
set_target_properties(rykel-cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

install(TARGETS rykel EXPORT rykelTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rykel
  FILES_MATCHING PATTERN "*.h")
install(TARGETS rykel-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/rykel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

if(RYKEL_PYTHON)
  set(RYKEL_PYTHON_INSTALL_DIR
    "${CMAKE_INSTALL_LIBDIR}/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/site-packages"
    CACHE STRING "Where the Python module goes, relative to the prefix")
  file(RELATIVE_PATH RYKEL_PY_TO_LIB "/p/${RYKEL_PYTHON_INSTALL_DIR}" "/p/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(rykel_py PROPERTIES INSTALL_RPATH "$ORIGIN/${RYKEL_PY_TO_LIB}")
  install(TARGETS rykel_py LIBRARY DESTINATION ${RYKEL_PYTHON_INSTALL_DIR})
endif()

set(RYKEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/rykel)
install(EXPORT rykelTargets NAMESPACE rykel:: DESTINATION ${RYKEL_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/rykelConfig.cmake.in
  ${CMAKE_BINARY_DIR}/rykelConfig.cmake INSTALL_DESTINATION ${RYKEL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/rykelConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/rykelConfig.cmake ${CMAKE_BINARY_DIR}/rykelConfigVersion.cmake
  DESTINATION ${RYKEL_CMAKE_DIR})
# The .pc file names the prefix given at install time (cmake --install --prefix P).
install(CODE "
  set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(PROJECT_VERSION \"${PROJECT_VERSION}\")
  configure_file(\"${PROJECT_SOURCE_DIR}/cmake/rykel.pc.in\" \"${CMAKE_BINARY_DIR}/rykel.pc\" @ONLY)
  file(INSTALL \"${CMAKE_BINARY_DIR}/rykel.pc\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
")
