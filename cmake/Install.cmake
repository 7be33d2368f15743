# What `cmake --install` puts where: programs, manual pages, completion, documents and examples.

install(TARGETS ramgraft RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
set(pages ramgraft)
foreach(companion ramgraft-inspect ramgraft-load)
  if(TARGET ${companion})
    install(TARGETS ${companion} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES completion/${companion}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    list(APPEND pages ${companion})
  endif()
endforeach()
foreach(page ${pages})
  configure_file(man/${page}.1.in man/${page}.1 @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/man/${page}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
  PATTERN __pycache__ EXCLUDE)
