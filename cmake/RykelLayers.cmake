# One OBJECT library per layer of src/ (RYKEL_LAYERS, "folder:rank", lowest first).
#
# Each layer compiles against an include tree of its own, ${CMAKE_BINARY_DIR}/layers/<folder>/,
# that holds only the folders it may use: itself and every folder of a lower rank. An include from
# a lower folder into a higher one (or into a sibling of the same rank) therefore does not compile.
# rykel_layer_link_checks() adds the second guard: per layer a shared library of that layer and
# the layers under it, linked with --no-undefined, so a call into a higher layer that dodges the
# include (a declaration written by hand) does not link either.
#
# RYKEL_PLUGINS ("name:folder/file.cpp", before this file is included) takes sources out of their
# layer into an OBJECT library rykel_<name>_objects of their own, compiled against the same include
# tree; CMakeLists.txt links each into a plug-in. The link check of the folder covers them too.
set(RYKEL_PLUGIN_NAMES)
foreach(entry ${RYKEL_PLUGINS})
  string(REPLACE ":" ";" pair ${entry})
  list(GET pair 0 plugin)
  list(GET pair 1 source)
  get_filename_component(folder ${source} DIRECTORY)
  list(APPEND RYKEL_PLUGIN_NAMES ${plugin})
  list(APPEND RYKEL_PLUGINS_OF_${folder} ${plugin})
  list(APPEND RYKEL_PLUGIN_SOURCES_${folder} ${PROJECT_SOURCE_DIR}/src/${source})
  set(RYKEL_PLUGIN_SOURCE_${plugin} ${PROJECT_SOURCE_DIR}/src/${source})
endforeach()

set(RYKEL_LAYER_NAMES)
foreach(entry ${RYKEL_LAYERS})
  string(REPLACE ":" ";" pair ${entry})
  list(GET pair 0 name)
  list(GET pair 1 rank)
  list(APPEND RYKEL_LAYER_NAMES ${name})
  set(RYKEL_LAYER_RANK_${name} ${rank})
endforeach()

# The layers a folder may use, itself included, in build order.
function(rykel_layer_uses name out)
  set(uses)
  foreach(other ${RYKEL_LAYER_NAMES})
    if(other STREQUAL name OR RYKEL_LAYER_RANK_${other} LESS RYKEL_LAYER_RANK_${name})
      list(APPEND uses ${other})
    endif()
  endforeach()
  set(${out} ${uses} PARENT_SCOPE)
endfunction()

foreach(name ${RYKEL_LAYER_NAMES})
  set(tree ${CMAKE_BINARY_DIR}/layers/${name})
  file(REMOVE_RECURSE ${tree})
  file(MAKE_DIRECTORY ${tree})
  rykel_layer_uses(${name} uses)
  foreach(used ${uses})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${used} ${tree}/${used} SYMBOLIC)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cpp)
  if(RYKEL_PLUGIN_SOURCES_${name})
    list(REMOVE_ITEM sources ${RYKEL_PLUGIN_SOURCES_${name}})
  endif()
  set(targets rykel_${name})
  add_library(rykel_${name} OBJECT ${sources})
  foreach(plugin ${RYKEL_PLUGINS_OF_${name}})
    add_library(rykel_${plugin}_objects OBJECT ${RYKEL_PLUGIN_SOURCE_${plugin}})
    list(APPEND targets rykel_${plugin}_objects)
  endforeach()
  foreach(target ${targets})
    target_include_directories(${target} PRIVATE ${tree})
    target_link_libraries(${target} PRIVATE fmt::fmt Threads::Threads ICU::uc)
    target_compile_definitions(${target} PRIVATE RYKEL_VERSION="${PROJECT_VERSION}")
  endforeach()
endforeach()

# Per layer below the top, a shared library of the layer and what it uses, linked with
# --no-undefined. RYKEL_LAYER_LINK_LIBS_<folder> names the outside libraries a layer needs,
# RYKEL_PLUGIN_LINK_LIBS_<plug-in> those of a plug-in, whose objects join the check of their folder.
function(rykel_layer_link_checks)
  foreach(name ${RYKEL_LAYER_NAMES})
    rykel_layer_uses(${name} uses)
    set(objects)
    set(libs fmt::fmt Threads::Threads ICU::uc)
    foreach(used ${uses})
      list(APPEND objects $<TARGET_OBJECTS:rykel_${used}>)
      list(APPEND libs ${RYKEL_LAYER_LINK_LIBS_${used}})
    endforeach()
    foreach(plugin ${RYKEL_PLUGINS_OF_${name}})
      list(APPEND objects $<TARGET_OBJECTS:rykel_${plugin}_objects>)
      list(APPEND libs ${RYKEL_PLUGIN_LINK_LIBS_${plugin}})
    endforeach()
    add_library(rykel_layercheck_${name} SHARED ${objects})
    target_link_libraries(rykel_layercheck_${name} PRIVATE ${libs})
    target_link_options(rykel_layercheck_${name} PRIVATE -Wl,--no-undefined)
    set_target_properties(rykel_layercheck_${name} PROPERTIES
      LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/layers/check)
  endforeach()
endfunction()
