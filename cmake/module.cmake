# mb_module(<name> SOURCES <files>... [USES <modules>...] [SYSTEM <libraries>...])
#
# One static library per folder of src/, or folder of such a folder. A module is compiled with no
# include path but its own tree and those of the modules named in USES, so an arrow in the wrong
# direction does not build: every folder exports its headers as "<name>/<header>.h" through a
# forwarding include root.
function(mb_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;SYSTEM" ${ARGN})
  add_library(mb_${name} STATIC ${ARG_SOURCES})
  set(root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} RESULT linked SYMBOLIC)
  if(NOT linked EQUAL 0)
    # Windows lets only some users make links. There a wrong arrow is found by the linker at the latest.
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH root)
  endif()
  target_include_directories(mb_${name} PUBLIC ${root})
  set(uses ${ARG_USES})
  list(TRANSFORM uses PREPEND mb_)
  target_link_libraries(mb_${name} PUBLIC mb_options ${uses} PRIVATE ${ARG_SYSTEM})
endfunction()
