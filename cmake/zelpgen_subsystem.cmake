# zelpgen_subsystem(name [EXCLUDE file...] [PUBLIC dep...] [PRIVATE dep...])
#
# A static library zelpgen_<name> built from the .cpp files of the calling folder. Its headers
# are reached as "<name>/header.h" through an include root of its own (a directory in the build
# tree holding one link, <name>, to the folder), so a target sees the headers of exactly the
# subsystems it links: PUBLIC for those its headers include, PRIVATE for those only its sources
# include.
function(zelpgen_subsystem name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "EXCLUDE;PUBLIC;PRIVATE")
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  foreach(excluded IN LISTS arg_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${excluded})
  endforeach()
  set(root ${PROJECT_BINARY_DIR}/include-roots/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} SYMBOLIC)
  add_library(zelpgen_${name} STATIC ${sources})
  target_include_directories(zelpgen_${name} PUBLIC ${root})
  target_link_libraries(zelpgen_${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
endfunction()
