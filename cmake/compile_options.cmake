# Flags that every target of this tree gets: warnings as errors, the chosen sanitizer, a static link.

add_library(mb_options INTERFACE)
target_compile_options(mb_options INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlapping copies inside std::string where there are none (GCC bug 105651).
  target_compile_options(mb_options INTERFACE -Wno-restrict)
endif()

if(MB_SANITIZE)
  target_compile_options(mb_options INTERFACE -fsanitize=${MB_SANITIZE} -fno-omit-frame-pointer
                                              -fno-sanitize-recover=all)
  target_link_options(mb_options INTERFACE -fsanitize=${MB_SANITIZE})
else()
  # One file that runs anywhere, and starts without a dynamic loader's millisecond.
  target_link_options(mb_options INTERFACE -static)
endif()

if(WIN32)
  target_compile_definitions(mb_options INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX
                                                  _WIN32_WINNT=0x0A00)
endif()
