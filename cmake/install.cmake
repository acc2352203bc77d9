# What an installation consists of, in the platform's places, and the packages made of it. Two
# components: "qsvmon", the client, and with QSVMON_SIM "sim", the simulated appliance.
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

install(TARGETS qsvmon RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT qsvmon)
install(FILES docs/qsvmon.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT qsvmon)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT qsvmon
        FILES_MATCHING PATTERN "*.md" PATTERN "*.schema.json" PATTERN "*.d.ts" PATTERN "*.ksy")
if(CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
  install(FILES LICENSE NEWS DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT qsvmon)
endif()
# bash, fish and zsh load their files by the command's name; tcsh has no such folder and sources it.
# Debian's zsh looks for what packages bring in a folder of its own.
set(qsvmon_find_zsh_dir "set(qsvmon_zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\" AND EXISTS /etc/debian_version)
  set(qsvmon_zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
endif()")
function(install_completion command component)
  install(FILES completions/${command}.bash COMPONENT ${component}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${command})
  install(FILES completions/${command}.fish COMPONENT ${component}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  install(FILES completions/${command}.tcsh COMPONENT ${component}
          DESTINATION ${qsvmon_examples_dir})
  install(CODE "${qsvmon_find_zsh_dir}" COMPONENT ${component})
  install(FILES completions/${command}.zsh COMPONENT ${component}
          DESTINATION "\${qsvmon_zsh_dir}" RENAME _${command})
endfunction()
install_completion(qsvmon qsvmon)

# The simulated appliance, which is not built for another system, looks for its data in share/qsvsim
# and libexec/qsvsim of its prefix.
if(TARGET qsvsim)
  install(TARGETS qsvsim qsvmon-here RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sim)
  install(TARGETS demo_dict LIBRARY DESTINATION libexec/qsvsim COMPONENT sim)
  install(DIRECTORY sim/data DESTINATION ${CMAKE_INSTALL_DATADIR}/qsvsim COMPONENT sim)
  install(DIRECTORY docs/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/qsvsim COMPONENT sim)
  install_completion(qsvsim sim)
  install(FILES docs/qsvsim.1 docs/qsvmon-here.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT sim)
endif()

set(CPACK_PACKAGE_NAME qsvmon)
set(CPACK_PACKAGE_VENDOR "the qsvmon maintainers")
set(CPACK_PACKAGE_CONTACT "the qsvmon maintainers <maintainers@qsvmon.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own below
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL qsvmon)
if(TARGET qsvsim)
  list(APPEND CPACK_COMPONENTS_ALL sim)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_QSVMON_PACKAGE_NAME qsvmon)
set(CPACK_DEBIAN_SIM_PACKAGE_NAME qsvmon-sim)
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_SIM_PACKAGE_SUGGESTS qsvmon)
set(CPACK_COMPONENT_QSVMON_DESCRIPTION "command-line client of a network appliance's traffic monitor
Asks the resident daemons of the appliance for their listings, tables and
state and prints the answer as JSON, CSV or text for operators, scripts and
the appliance's web pages.")
set(CPACK_COMPONENT_SIM_DESCRIPTION "simulated appliance for users of qsvmon's output
Stands in for both daemons that qsvmon asks, in a folder of its own, with
sample data, with data that is hostile to pages and scripts, or with any
number of generated records, and answers wrongly on demand. With it come the
client that talks to it, the schemas of the output and TypeScript types.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
set(CPACK_QSVMON_SOURCE ${PROJECT_SOURCE_DIR})
if(CMAKE_SYSTEM_NAME STREQUAL "FreeBSD")
  # For an appliance without a compiler: "tar -C / -xf" puts the tree below /usr/local.
  set(CPACK_GENERATOR TXZ)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_PACKAGE_FILE_NAME qsvmon-${PROJECT_VERSION}-freebsd12-amd64)
  set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/repack.cmake)
endif()
set(CPACK_SOURCE_GENERATOR "")  # tools/source_archive makes the source archive
include(CPack)
