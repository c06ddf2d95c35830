# Debian packages, by `cpack` in a build with the prefix /usr; tools/package makes such builds.
#   libtextmaps0         what programs need to run
#   libtextmaps-dev      what they need to be built, and the documentation
#   libtextmaps0-dbgsym  debug symbols, if the build has any
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL textmaps_runtime textmaps_development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_READELF_EXECUTABLE ${CMAKE_READELF})
set(CPACK_OBJCOPY_EXECUTABLE ${CMAKE_OBJCOPY})
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package-files.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package-control.cmake)

set(CPACK_PACKAGE_CONTACT "The textmaps developers <textmaps@localhost>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND dpkg-architecture -f -t ${CMAKE_LIBRARY_ARCHITECTURE} -q DEB_HOST_ARCH
                  OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

set(runtime_package libtextmaps${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_TEXTMAPS_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_TEXTMAPS_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_TEXTMAPS_RUNTIME_DEBUGINFO_PACKAGE ON)
# Those of its own architecture, that is: dpkg-shlibdeps knows no other. See package-files.cmake.
if(NOT CMAKE_CROSSCOMPILING AND NOT TEXTMAPS_PLATFORM_ADDRKIT)
  set(CPACK_DEBIAN_TEXTMAPS_RUNTIME_PACKAGE_SHLIBDEPS ON)
endif()

set(CPACK_DEBIAN_TEXTMAPS_DEVELOPMENT_PACKAGE_NAME libtextmaps-dev)
set(CPACK_DEBIAN_TEXTMAPS_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(development_depends "${runtime_package} (= ${PROJECT_VERSION})")
if(TEXTMAPS_PLATFORM_ADDRKIT)
  set(TEXTMAPS_ADDRKIT_PACKAGE libaddrkit CACHE STRING
      "Debian package of the platform's libaddrkit")
  set(TEXTMAPS_ADDRKIT_DEVELOPMENT_PACKAGE libaddrkit-dev CACHE STRING
      "Debian package of the platform's addrkit.h")
  set(CPACK_TEXTMAPS_ADDRKIT_PACKAGE ${TEXTMAPS_ADDRKIT_PACKAGE})
  string(APPEND development_depends ", ${TEXTMAPS_ADDRKIT_DEVELOPMENT_PACKAGE}")
endif()
set(CPACK_DEBIAN_TEXTMAPS_DEVELOPMENT_PACKAGE_DEPENDS "${development_depends}")

set(about "Containers of text keys that keep numbers, times, text and network\n"
          "addresses as text, with an interface in C. This package holds what")
string(CONCAT about ${about})
set(CPACK_COMPONENT_TEXTMAPS_RUNTIME_DESCRIPTION "${about}\nprograms need to run.")
set(CPACK_COMPONENT_TEXTMAPS_DEVELOPMENT_DESCRIPTION
    "${about}\nprograms need to be built, and the documentation.")

foreach(component runtime development)
  string(TOUPPER CPACK_DEBIAN_TEXTMAPS_${component}_PACKAGE_NAME package)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${package}} RENAME copyright
          COMPONENT textmaps_${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
