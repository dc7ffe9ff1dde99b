# cmake -DSOURCE=<pages> -DOUT=<folder> -DSTAMP=<file> -P build_pages.cmake
# Installs the locked packages when the lock file has changed, checks the types and builds. What breaks in
# our own sources fails the build; what the machine lacks is said by the page instead.

function(say_what_is_missing reason)
  message(WARNING "the pages were not built: ${reason}")
  file(REMOVE_RECURSE ${OUT})
  foreach(page shell term)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/pages_missing.html.in ${OUT}/${page}.html @ONLY)
  endforeach()
  file(REMOVE ${STAMP})  # the next build tries again
endfunction()

find_program(NODE NAMES node nodejs)
find_program(NPM NAMES npm npm.cmd)
if(NOT NODE OR NOT NPM)
  say_what_is_missing("Node.js and its npm are not installed")
  return()
endif()
execute_process(COMMAND ${NODE} --version OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
if(version MATCHES "^v([0-9]+)" AND CMAKE_MATCH_1 LESS 18)
  say_what_is_missing("Node.js is ${version}, and 18 or newer is needed")
  return()
endif()

set(installed ${SOURCE}/node_modules/.package-lock.json)
if(NOT EXISTS ${installed} OR ${SOURCE}/package-lock.json IS_NEWER_THAN ${installed})
  execute_process(COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund --loglevel=error
    WORKING_DIRECTORY ${SOURCE} RESULT_VARIABLE failed)
  if(failed)
    say_what_is_missing("npm could not install the packages of pages/package-lock.json")
    return()
  endif()
endif()

set(modules ${SOURCE}/node_modules)
execute_process(COMMAND ${NODE} ${modules}/typescript/bin/tsc --noEmit
  WORKING_DIRECTORY ${SOURCE} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "the pages' types do not fit")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env MB_PAGES_OUT=${OUT}
    ${NODE} ${modules}/vite/bin/vite.js build --logLevel warn
  WORKING_DIRECTORY ${SOURCE} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "the pages do not build")
endif()
file(TOUCH ${STAMP})
