# The documentation as a site, with a search that needs no network.
find_program(PAGEHOST_MKDOCS mkdocs)
set(site ${CMAKE_BINARY_DIR}/bin/share/docs)
if(PAGEHOST_MKDOCS)
  # The page that stands there since a time without mkdocs would look newer than what it is made of.
  if(NOT EXISTS ${site}/search)
    file(REMOVE ${site}/index.html)
  endif()
  file(GLOB pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/*.md ${CMAKE_SOURCE_DIR}/docs/images/*)
  add_custom_command(OUTPUT ${site}/index.html
    COMMAND ${PAGEHOST_MKDOCS} build --quiet --config-file ${CMAKE_SOURCE_DIR}/mkdocs.yml
            --site-dir ${site}
    DEPENDS ${pages} ${CMAKE_SOURCE_DIR}/mkdocs.yml
    COMMENT "Making the site of the documentation")
  add_custom_target(docs DEPENDS ${site}/index.html)
  add_dependencies(product docs)
else()
  # The chrome's menu leads there.
  file(CONFIGURE OUTPUT ${site}/index.html @ONLY CONTENT [[<!doctype html>
<html lang="en">
<meta charset="utf-8">
<title>Documentation</title>
<style>:root { color-scheme: light dark; font: 1rem/1.5 sans-serif } body { max-width: 40em; margin: 3em auto }</style>
<h1>The documentation is not here</h1>
<p>It is made by mkdocs, which was not installed where this program was built. Install it, configure and build
again; or read <code>docs/index.md</code> of the source.</p>
]])
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo "The site is made by mkdocs, which is not installed."
    COMMAND ${CMAKE_COMMAND} -E false)
endif()
# With mkdocs nothing where only single targets were built.
install(DIRECTORY ${site} DESTINATION ${CMAKE_INSTALL_DATADIR}/pagehost OPTIONAL)
