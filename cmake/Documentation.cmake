# The documentation as a site, with a search that needs no network.
find_program(PAGEHOST_MKDOCS mkdocs)
set(site ${CMAKE_BINARY_DIR}/bin/share/docs)
if(PAGEHOST_MKDOCS)
  file(GLOB pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/*.md)
  add_custom_command(OUTPUT ${site}/index.html
    COMMAND ${PAGEHOST_MKDOCS} build --quiet --config-file ${CMAKE_SOURCE_DIR}/mkdocs.yml
            --site-dir ${site}
    DEPENDS ${pages} ${CMAKE_SOURCE_DIR}/mkdocs.yml
    COMMENT "Making the site of the documentation")
  add_custom_target(docs DEPENDS ${site}/index.html)
  add_dependencies(product docs)
else()
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo "The site is made by mkdocs, which is not installed."
    COMMAND ${CMAKE_COMMAND} -E false)
endif()
# Nothing where it was not made.
install(DIRECTORY ${site} DESTINATION ${CMAKE_INSTALL_DATADIR}/pagehost OPTIONAL)
