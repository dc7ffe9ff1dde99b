# The pages below /ui: pages/ built by Vite into web/ui beside the executable. Node is not needed for
# the executable itself: without it, or without the packages, a page says what is missing.
file(GLOB_RECURSE MB_PAGE_SOURCES CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/pages/src/* ${PROJECT_SOURCE_DIR}/pages/public/*)
set(MB_PAGES_DIR ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/web/ui)
set(MB_PAGES_STAMP ${CMAKE_BINARY_DIR}/pages.stamp)

add_custom_command(
  OUTPUT ${MB_PAGES_STAMP}
  COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/pages -DOUT=${MB_PAGES_DIR}
    -DSTAMP=${MB_PAGES_STAMP} -P ${PROJECT_SOURCE_DIR}/cmake/build_pages.cmake
  DEPENDS ${MB_PAGE_SOURCES} cmake/build_pages.cmake cmake/pages_missing.html.in
    pages/package-lock.json pages/vite.config.js pages/tsconfig.json pages/shell.html pages/term.html
  COMMENT "Building the pages"
  VERBATIM)
set(MB_PAGES_ALL)
if(MB_PAGES)
  set(MB_PAGES_ALL ALL)
endif()
add_custom_target(pages ${MB_PAGES_ALL} DEPENDS ${MB_PAGES_STAMP})
