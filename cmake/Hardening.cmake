# What the compiler and the linker put between a fault in memory and whoever would use it. Not for
# sanitized builds, which have their own and cannot have some of these. tests/hardening looks whether
# the built files have it.

option(PAGEHOST_HARDENING "Build with stack protectors, checked library calls, read-only tables" ON)
if(NOT PAGEHOST_HARDENING OR NOT PAGEHOST_SANITIZER STREQUAL "")
  return()
endif()

target_compile_options(pagehost_compiler INTERFACE
  -fstack-protector-strong    # functions with arrays find out that they were written over
  -fstack-clash-protection    # large frames touch every page: none jumps over the guard
  # Copies whose room the compiler knows are checked. Needs optimisation.
  $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
  $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
# Jumps and returns land where the program has said that they may, on processors that look.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  target_compile_options(pagehost_compiler INTERFACE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  target_compile_options(pagehost_compiler INTERFACE -mbranch-protection=standard)
endif()
# Addresses of functions are looked up at the start and cannot be changed afterwards; no stack is code.
target_link_options(pagehost_compiler INTERFACE
  -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# Programs can be loaded at any address.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# Of our own names, none can be found from outside but those that say so. What is left is the C++
# library's, which has its names visible whatever we say.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
