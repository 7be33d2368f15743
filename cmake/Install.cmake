# What `cmake --install` puts where: programs, manual pages, completion, documents, examples and, as
# the component `development`, the library with what programs need to find and use it.

install(TARGETS ramgraft RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
set(pages ramgraft)
set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES completion/ramgraft DESTINATION ${completions})
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/completion)
foreach(companion ramgraft-inspect ramgraft-load)
  if(TARGET ${companion})
    install(TARGETS ${companion} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    # The shell looks for a file of the program's name.
    file(CREATE_LINK ramgraft ${CMAKE_CURRENT_BINARY_DIR}/completion/${companion} SYMBOLIC)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/completion/${companion} DESTINATION ${completions})
    list(APPEND pages ${companion})
  endif()
endforeach()
foreach(page ${pages})
  configure_file(man/${page}.1.in man/${page}.1 @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/man/${page}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
# By name, because anything may lie beside them; .ci/run holds the list against the tracked files.
foreach(document docs/format-command.svg docs/format-line.svg docs/format-stream.svg
    docs/format-words.svg docs/format.md docs/inspect.md docs/library.md docs/load.md
    docs/overview.svg docs/performance.md docs/performance.svg docs/promises.md docs/report.png
    docs/scripts.md examples/ebrstream.py examples/make_example.py examples/make_firmware.py
    examples/show_changes.py)
  get_filename_component(folder ${document} DIRECTORY)
  install(FILES ${document} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder})
endforeach()

# The public headers, and those that they include.
set(headers base/bytebuffer.h base/ramgraftbstream.h base/reversal.h ebr/crc.h run/ramgraft.h
  run/ramgraftmemory.h selfcheck/ramgraftcheck.h steps/ramgraftebr.h steps/ramgraftfiles.h
  steps/ramgrafttraverse.h steps/ramgraftutil.h)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/ramgraft)
foreach(header ${headers})
  # They are installed side by side, so they include each other without the floor.
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS src/${header})
  file(READ src/${header} text)
  string(REGEX REPLACE "(#include \")[a-z]+/" "\\1" text "${text}")
  get_filename_component(name ${header} NAME)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/include/${name} "${text}")
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/include/${name} DESTINATION ${header_folder}
    COMPONENT development)
endforeach()

include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ramgraft)
install(TARGETS ramgraft_library EXPORT ramgraft
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${header_folder})
# It depends on no other package, so the exported target is the whole package.
install(EXPORT ramgraft FILE ramgraft-config.cmake NAMESPACE ramgraft::
  DESTINATION ${package_folder} COMPONENT development)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ramgraft-config-version.cmake
  COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/ramgraft.pc.in ramgraft.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ramgraft-config-version.cmake
  DESTINATION ${package_folder} COMPONENT development)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ramgraft.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
