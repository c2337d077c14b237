# One library per layer, each linking only the layers below it. Every header shares one include root, so
# the compiler alone would accept an include that points up the layers: each library's build also runs
# cmake/CheckLayering.cmake over its folder, which fails on such an include.
function(vantrel_layered_library target)
  cmake_parse_arguments(PARSE_ARGV 1 LIBRARY "" "" "BELOW;EXCLUDE")
  set(folder ${CMAKE_CURRENT_SOURCE_DIR})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${folder}/*.hpp)
  foreach(excluded IN LISTS LIBRARY_EXCLUDE)
    list(REMOVE_ITEM sources ${folder}/${excluded})
  endforeach()
  file(RELATIVE_PATH own ${PROJECT_SOURCE_DIR} ${folder})
  set(folders ${own})
  foreach(below IN LISTS LIBRARY_BELOW)
    get_target_property(belowFolders ${below} VANTREL_FOLDERS)
    list(APPEND folders ${belowFolders})
  endforeach()
  list(REMOVE_DUPLICATES folders)
  string(JOIN "|" allowed ${folders})
  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/${target}.layering)
  add_custom_command(
    OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -DFOLDER=${folder} -DALLOWED=${allowed} -DROOT=${PROJECT_SOURCE_DIR} -DSTAMP=${stamp}
            -P ${PROJECT_SOURCE_DIR}/cmake/CheckLayering.cmake
    DEPENDS ${sources} ${headers} ${PROJECT_SOURCE_DIR}/cmake/CheckLayering.cmake
    COMMENT "Checking that ${own} includes only itself and the layers below it"
    VERBATIM)
  add_library(${target} STATIC ${sources} ${stamp})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC ${LIBRARY_BELOW} PRIVATE vantrel_warnings)
  set_target_properties(${target} PROPERTIES VANTREL_FOLDERS "${folders}")
endfunction()
