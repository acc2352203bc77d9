# What an installation consists of, in the platform's places, and the packages made of it.
# FreeBSD keeps manual pages below man, not share/man, and examples below share/examples.
if(CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
  set(CMAKE_INSTALL_MANDIR man CACHE PATH "Manual pages")
endif()
include(GNUInstallDirs)
if(CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
  set(qsvmon_examples_dir ${CMAKE_INSTALL_DATADIR}/examples/qsvmon)
else()
  set(qsvmon_examples_dir ${CMAKE_INSTALL_DOCDIR}/examples)
endif()

install(TARGETS qsvmon RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/qsvmon.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}
        FILES_MATCHING PATTERN "*.md" PATTERN "*.schema.json" PATTERN "*.d.ts" PATTERN "*.ksy")
# bash-completion loads its file by the command's name; tcsh has no such folder and sources it.
install(FILES completions/qsvmon.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME qsvmon)
install(FILES completions/qsvmon.tcsh DESTINATION ${qsvmon_examples_dir})

set(CPACK_PACKAGE_NAME qsvmon)
set(CPACK_PACKAGE_VENDOR "qsvmon")
set(CPACK_PACKAGE_CONTACT "qsvmon maintainers <qsvmon@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
    "Asks the resident daemons of a network appliance for their listings, tables and state and
prints the answer as JSON, CSV or text for operators, scripts and the appliance's web pages.")
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
  # For an appliance without a compiler: "tar -C / -xf" puts the tree below /usr/local.
  set(CPACK_GENERATOR TXZ)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_PACKAGE_FILE_NAME qsvmon-${PROJECT_VERSION}-freebsd12-amd64)
  set(CPACK_QSVMON_SOURCE ${PROJECT_SOURCE_DIR})
  set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/repack.cmake)
endif()
# The source archive that the FreeBSD port builds from: "cpack --config CPackSourceConfig.cmake".
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME qsvmon-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\.git" "/build[^/]*/" "/\\.cache/")
include(CPack)
