# One OBJECT library per folder. OBJECT, because a static library would drop the
# object files that hold nothing but static registrations.
#
# A folder is reachable only by those who name it in DEPENDS: each gets an
# include folder of its own that holds a single link, so that
# #include "engine/OrvWebView.h" does not compile in platform/.

set(PAGEHOST_INCLUDE_ROOT ${CMAKE_BINARY_DIR}/include)
# The links are made anew: those of an earlier state of the tree would be in the way.
file(REMOVE_RECURSE ${PAGEHOST_INCLUDE_ROOT})

# pagehost_library(<target> FOLDER <folder below the source root>
#                  SOURCES <files> [DEPENDS <targets>])
function(pagehost_library target)
  cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;DEPENDS" ${ARGN})
  add_library(${target} OBJECT ${ARG_SOURCES})
  pagehost_expose(${target} ${ARG_FOLDER})
  target_link_libraries(${target} PUBLIC ${ARG_DEPENDS} PRIVATE pagehost_compiler)
endfunction()

# Makes one file or folder of the source tree includable for a target and for
# those that depend on it.
function(pagehost_expose target path)
  set(root ${PAGEHOST_INCLUDE_ROOT}/${target})
  get_filename_component(parent ${root}/${path} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${path} ${root}/${path} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${root})
endfunction()
