# Pages of the manual are printed by the programs themselves, and kept where people find them.

# The page of a program in the build folder's bin/: installs it, and tests that it is
# what the program prints. After a change: bin/PROGRAM --man > docs/man/PROGRAM.1
function(pagehost_manual program)
  set(page ${CMAKE_SOURCE_DIR}/docs/man/${program}.1)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  if(PAGEHOST_TESTS AND PAGEHOST_SANITIZER STREQUAL "")
    add_test(NAME manual_of_${program}
      COMMAND sh -c "\"$1\" --man | diff -u \"$2\" -" sh ${CMAKE_BINARY_DIR}/bin/${program} ${page})
    set_tests_properties(manual_of_${program} PROPERTIES LABELS fast TIMEOUT 60)
  endif()
endfunction()
