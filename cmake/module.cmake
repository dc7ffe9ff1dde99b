# mb_module(<name> SOURCES <files>... [USES <modules>...] [SYSTEM <libraries>...])
#
# One static library per folder of src/ that holds sources; <name> is its path there, "memory/index".
# A module is compiled with no include path but its own folder's and those of the modules that it
# uses, each reached as "<name>/<header>.h" through a forwarding root, so an arrow in the wrong
# direction does not build. USES names every module of which a file is included here: a test holds
# that, and that no two files include each other.
function(mb_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;SYSTEM" ${ARGN})
  string(REPLACE "/" "_" target mb_${name})
  add_library(${target} STATIC ${ARG_SOURCES})
  set(root ${CMAKE_BINARY_DIR}/include/${target})
  cmake_path(GET name PARENT_PATH above)
  file(MAKE_DIRECTORY ${root}/${above})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${name} RESULT linked SYMBOLIC)
  if(NOT linked EQUAL 0)
    # Windows lets only some users make links. There a wrong arrow is found by the linker at the latest.
    set(root ${PROJECT_SOURCE_DIR}/src)
  endif()
  target_include_directories(${target} PUBLIC ${root})
  list(TRANSFORM ARG_USES REPLACE "/" "_")
  list(TRANSFORM ARG_USES PREPEND mb_)
  target_link_libraries(${target} PUBLIC mb_options ${ARG_USES} PRIVATE ${ARG_SYSTEM})
endfunction()
