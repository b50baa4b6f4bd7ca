# One static library per folder. All includes start at the root of the tree; which folder may include which
# is written in tools/layers.txt and checked by "tools/lint.sh layers", as is that each library links with
# nothing but what it depends on.

# pagehost_library(<target> SOURCES <files> [DEPENDS <targets>])
function(pagehost_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${target} STATIC ${ARG_SOURCES})
  target_link_libraries(${target} PUBLIC ${ARG_DEPENDS} PRIVATE pagehost_compiler)
  pagehost_links_alone(${target})
endfunction()

# pagehost_self_installing(<library> <sources>)
# Sources that nobody calls by a name, because they install themselves before main() or are found by the
# system: of a library's archive they would not be taken. Every program with the library has them.
function(pagehost_self_installing library)
  add_library(${library}_objects OBJECT ${ARGN})
  target_link_libraries(${library}_objects PRIVATE pagehost_compiler
    $<TARGET_PROPERTY:${library},LINK_LIBRARIES>)
  target_sources(${library} INTERFACE $<TARGET_OBJECTS:${library}_objects>)
endfunction()

# A program that holds all of a library and what it depends on: it links if nothing is missing there.
add_custom_target(layers)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/layers/main.cpp CONTENT "int main() {}\n")
function(pagehost_links_alone target)
  add_executable(${target}_alone EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/layers/main.cpp)
  target_link_libraries(${target}_alone PRIVATE pagehost_compiler
    $<LINK_LIBRARY:WHOLE_ARCHIVE,${target}>)
  set_target_properties(${target}_alone PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/layers)
  add_dependencies(layers ${target}_alone)
endfunction()
