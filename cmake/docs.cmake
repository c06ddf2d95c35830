# The pages made of the headers and docs/: HTML and man pages, by the target `docs`. tools/docs checks
# them.
find_program(TEXTMAPS_DOXYGEN doxygen REQUIRED)

# Where links from page to page get lost in doxygen.
if("${PROJECT_SOURCE_DIR};${PROJECT_BINARY_DIR}" MATCHES " ")
  message(FATAL_ERROR "doxygen makes no sound pages in a directory with a space in its path: "
                      "configure without TEXTMAPS_DOCS, or move the sources")
endif()

set(docs_dir ${PROJECT_BINARY_DIR}/pages)
file(GLOB docs_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*
     ${PROJECT_SOURCE_DIR}/docs/guide/*.md ${PROJECT_SOURCE_DIR}/include/textmaps/*
     ${PROJECT_SOURCE_DIR}/addrkit/addrkit.h ${PROJECT_SOURCE_DIR}/tools/manpages)
add_custom_command(
  OUTPUT ${docs_dir}/man/man7/textmaps.7
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${docs_dir}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${docs_dir}
  COMMAND ${CMAKE_COMMAND} -E env TEXTMAPS_DOCS_OUTPUT=${docs_dir}
          TEXTMAPS_DOCS_VERSION=${PROJECT_VERSION} ${TEXTMAPS_DOXYGEN} docs/Doxyfile
  COMMAND tools/manpages ${docs_dir}/xml ${PROJECT_VERSION} ${docs_dir}/man
  DEPENDS ${docs_sources}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMENT "Making the pages in ${docs_dir}"
  VERBATIM)
add_custom_target(docs ALL DEPENDS ${docs_dir}/man/man7/textmaps.7)

if(TEXTMAPS_INSTALL)
  install(DIRECTORY ${docs_dir}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}
          COMPONENT textmaps_development)
  install(DIRECTORY ${docs_dir}/html DESTINATION ${CMAKE_INSTALL_DOCDIR}
          COMPONENT textmaps_development)
endif()
