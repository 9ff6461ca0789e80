# kmd_library(<folder> DEPS <targets...>): one static library per source folder, made of every
# .cpp in it. Headers sit beside the sources and are included as "<folder>/Name.h".
function(kmd_library folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
  add_library(kmd_${folder} STATIC ${sources})
  target_include_directories(kmd_${folder} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(kmd_${folder} PUBLIC ${ARG_DEPS})
endfunction()
