# What every target of ours is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(PAGEHOST_CCACHE ccache)
if(PAGEHOST_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${PAGEHOST_CCACHE})
endif()

option(PAGEHOST_FUZZ "Build the fuzzers of tests/fuzz, and nothing else by default; with clang" OFF)
set(PAGEHOST_SANITIZER "" CACHE STRING "address, thread or empty")

add_library(pagehost_compiler INTERFACE)
target_include_directories(pagehost_compiler INTERFACE ${CMAKE_SOURCE_DIR})
option(PAGEHOST_WARNINGS_ARE_ERRORS "For who works on the program; not for who installs it" OFF)
if(PAGEHOST_FUZZ)
  # Warnings are for the compiler that the product is built with; the two do not agree about them.
  target_compile_options(pagehost_compiler INTERFACE -w -fsanitize=fuzzer-no-link
    -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/fuzz-ignored.txt)
else()
  target_compile_options(pagehost_compiler INTERFACE -Wall -Wextra -Wconversion
    $<$<BOOL:${PAGEHOST_WARNINGS_ARE_ERRORS}>:-Werror>)
endif()
if(PAGEHOST_SANITIZER STREQUAL "address")
  set(flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer
    # The engine finds functions of the C++ library in our program and calls them on its own objects,
    # which have no run-time types to look at.
    -fno-sanitize=vptr
    # Optimised and sanitized at once, g++ 12 finds it in the variants and pointers of the library.
    -Wno-maybe-uninitialized)
elseif(PAGEHOST_SANITIZER STREQUAL "thread")
  set(flags -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT PAGEHOST_SANITIZER STREQUAL "")
  message(FATAL_ERROR "PAGEHOST_SANITIZER is '${PAGEHOST_SANITIZER}': it takes address, thread or nothing")
endif()
if(flags)
  target_compile_options(pagehost_compiler INTERFACE ${flags})
  target_link_options(pagehost_compiler INTERFACE ${flags})
endif()

include(Hardening)
