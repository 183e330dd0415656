# What `cmake --install build --prefix P` puts under P:
#   lib/librykel.so.<version> (+ SONAME link and .so)       the library
#   lib/librykel_web.so                                      the web server
#   lib/librykel_{pdf,calc,sqlite,serve}.so                  the plug-ins, beside the library
#   include/rykel/<area>/<header>.h                          the public headers, as the sources include them
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
# The library loads its plug-ins from its own folder; they find librykel_web there too.
install(TARGETS rykel_weblib LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(plugin ${RYKEL_PLUGIN_NAMES})
  set_property(TARGET rykel_${plugin} APPEND PROPERTY INSTALL_RPATH "$ORIGIN")
  install(TARGETS rykel_${plugin} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()
# The public headers: the classes and operations docs/API.md documents, the Variant and Error
# types. What they include goes with them; every other header stays in the source tree.
set(RYKEL_PUBLIC_HEADERS
  frame/Variant.h frame/Error.h frame/Object.h frame/Convert.h frame/Notifier.h frame/Random.h
  frame/mdl_Global.h frame/mdl_Limits.h
  frame/cls_Collection.h frame/cls_CollectionValues.h frame/cls_CollectionInt.h
  structure/cls_Structure.h structure/cls_StructureManager.h structure/cls_StructureTools.h
  structure/mdl_GlobalStructure.h structure/mdl_StructureJson.h
  interpreter/cls_KEL.h interpreter/cls_KELModules.h interpreter/cls_KELModule.h
  interpreter/cls_KELModuleInterface.h
  database/cls_DBStore.h database/cls_DBField.h database/cls_DBIndex.h database/cls_DBView.h
  database/enm_DBFieldType.h
  tools/cls_DBTool.h
  modules/mod_KELDB.h modules/mod_KELIO.h modules/mod_KELStructure.h
  host/cls_DB.h host/sys_Global.h
  site/cls_Site.h)
set(pending ${RYKEL_PUBLIC_HEADERS})
set(RYKEL_INSTALLED_HEADERS)
while(pending)
  list(POP_FRONT pending header)
  if(header IN_LIST RYKEL_INSTALLED_HEADERS)
    continue()
  endif()
  list(APPEND RYKEL_INSTALLED_HEADERS ${header})
  get_filename_component(folder ${header} DIRECTORY)
  file(STRINGS ${PROJECT_SOURCE_DIR}/src/${header} includes REGEX "^#include \"")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${header})
  foreach(line ${includes})
    string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
    if(NOT included MATCHES "/")
      set(included ${folder}/${included})
    endif()
    list(APPEND pending ${included})
  endforeach()
endwhile()
foreach(header ${RYKEL_INSTALLED_HEADERS})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rykel/${folder})
endforeach()
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
