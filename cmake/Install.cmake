# Installing is whole or not at all, an upgrade leaves nothing of the former version, and the target
# "uninstall" takes away what was installed: the list of it is installed along.

set(PAGEHOST_INSTALLED_FILES ${CMAKE_INSTALL_FULL_DATADIR}/pagehost/installed-files.txt)

# What is installed must have been built. This comes before every other rule of installation.
install(CODE "
  foreach(file IN ITEMS
      \"$<TARGET_FILE:pagehost>\" \"$<TARGET_FILE:pagehost-ctl>\" \"$<TARGET_FILE:pagehost-device>\"
      \"$<TARGET_FILE:pagehost-launch>\"
      \"$<TARGET_FILE:page_module>\")
    if(NOT EXISTS \"\${file}\")
      message(FATAL_ERROR \"\${file} is not built, so nothing is installed. Build it first:\\n\"
        \"  cmake --build ${CMAKE_BINARY_DIR} --target product\")
    endif()
  endforeach()")

# pagehost_install_link(<what it names> <path>)
function(pagehost_install_link target path)
  install(CODE "
    file(CREATE_LINK \"${target}\" \"\$ENV{DESTDIR}${path}\" SYMBOLIC)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"${path}\")")
endfunction()

# pagehost_shared_files(<target> <folder>)
# The files of this folder of the source as that folder of the program's data, beside the program and
# installed. They are copied, since links in it are not followed.
function(pagehost_shared_files target folder)
  set(copy ${CMAKE_BINARY_DIR}/bin/share/${folder})
  add_custom_target(${target} ALL
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${copy}
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_CURRENT_SOURCE_DIR} ${copy}
    COMMAND ${CMAKE_COMMAND} -E rm -f ${copy}/CMakeLists.txt
    COMMENT "Copying ${folder}/")
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/pagehost/${folder}
    PATTERN CMakeLists.txt EXCLUDE)
endfunction()

# Removes what an earlier installation in this place has left and this one does not have.
function(pagehost_finish_install)
  install(CODE "
    set(list \"\$ENV{DESTDIR}${PAGEHOST_INSTALLED_FILES}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"${PAGEHOST_INSTALLED_FILES}\")
    if(EXISTS \"\${list}\")
      file(STRINGS \"\${list}\" stale)
      list(REMOVE_ITEM stale \${CMAKE_INSTALL_MANIFEST_FILES})
      foreach(file IN LISTS stale)
        message(STATUS \"Removing: \$ENV{DESTDIR}\${file}\")
        file(REMOVE \"\$ENV{DESTDIR}\${file}\")
      endforeach()
    endif()
    list(JOIN CMAKE_INSTALL_MANIFEST_FILES \"\\n\" text)
    file(WRITE \"\${list}\" \"\${text}\\n\")")
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -D LIST=${PAGEHOST_INSTALLED_FILES} -D PREFIX=${CMAKE_INSTALL_PREFIX}
            -P ${CMAKE_SOURCE_DIR}/cmake/Uninstall.cmake)
endfunction()
