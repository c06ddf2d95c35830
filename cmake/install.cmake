# What `cmake --install` puts where: the component textmaps_runtime is what programs need to run,
# textmaps_development what they need to be built.
include(CMakePackageConfigHelpers)

install(TARGETS textmaps textmaps_static textmaps_static_as_c textmaps_addrkit EXPORT textmaps-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT textmaps_runtime NAMELINK_COMPONENT textmaps_development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT textmaps_development)

install(DIRECTORY include/textmaps DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT textmaps_development)
if(NOT TEXTMAPS_PLATFORM_ADDRKIT)
  install(FILES addrkit/addrkit.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          COMPONENT textmaps_development)
endif()

# GDB looks for what belongs to a library under the library's path, in a directory of its own.
install(FILES gdb/textmaps-gdb.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}
        RENAME $<TARGET_FILE_NAME:textmaps>-gdb.py
        COMPONENT textmaps_development)

# A subproject's documentation directory is that of the project around it.
if(top_level)
  install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}
          COMPONENT textmaps_development)
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT textmaps_development
          FILES_MATCHING PATTERN *.md PATTERN *.svg)
  install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT textmaps_development
          PATTERN CMakeLists.txt EXCLUDE PATTERN .clang-tidy EXCLUDE)
endif()

# For find_package(textmaps).
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/textmaps)
install(EXPORT textmaps-targets NAMESPACE textmaps:: DESTINATION ${cmake_dir}
        COMPONENT textmaps_development)
configure_package_config_file(cmake/textmaps-config.cmake.in
  ${PROJECT_BINARY_DIR}/textmaps-config.cmake
  INSTALL_DESTINATION ${cmake_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/textmaps-config-version.cmake
  COMPATIBILITY SameMajorVersion)
set(package_files
  ${PROJECT_BINARY_DIR}/textmaps-config.cmake
  ${PROJECT_BINARY_DIR}/textmaps-config-version.cmake)
if(TEXTMAPS_PLATFORM_ADDRKIT)
  list(APPEND package_files cmake/Findaddrkit.cmake)
endif()
install(FILES ${package_files} DESTINATION ${cmake_dir} COMPONENT textmaps_development)

# For pkg-config. The prefix is where the file is found, so that the tree can be moved, unless the file
# lies in a directory that does not depend on the prefix.
foreach(dir libdir includedir)
  string(TOUPPER ${dir} variable)
  set(pc_${dir} ${CMAKE_INSTALL_${variable}})
  if(NOT IS_ABSOLUTE "${pc_${dir}}")
    set(pc_${dir} "\${prefix}/${pc_${dir}}")
  endif()
endforeach()
set(pc_prefix ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" up ${up})
  set(pc_prefix "\${pcfiledir}/${up}")
endif()
foreach(variable pc_prefix pc_libdir pc_includedir)
  string(REPLACE " " "\\ " ${variable} "${${variable}}")
endforeach()
configure_file(cmake/textmaps.pc.in ${PROJECT_BINARY_DIR}/textmaps.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/textmaps.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT textmaps_development)
