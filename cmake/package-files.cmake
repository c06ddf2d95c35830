# Included by cpack when the packages' files are in place.

# The archives go without debug symbols: they would be most of the package.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND ${CPACK_OBJCOPY_EXECUTABLE} --strip-debug ${archive}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# Debian's manual pages are compressed.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.[37])
if(pages)
  execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()

# What dpkg-shlibdeps does not tell: of another architecture's libc, the version that is asked for, and
# a platform's address library.
if(NOT CPACK_DEBIAN_TEXTMAPS_RUNTIME_PACKAGE_SHLIBDEPS)
  file(GLOB_RECURSE library ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.so.*.*[0-9])
  execute_process(COMMAND ${CPACK_READELF_EXECUTABLE} --version-info ${library}
                  OUTPUT_VARIABLE versions COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "GLIBC_[0-9.]+" versions "${versions}")
  list(SORT versions COMPARE NATURAL ORDER DESCENDING)
  list(GET versions 0 version)
  string(REPLACE GLIBC_ "" version ${version})
  set(depends "libc6 (>= ${version})" ${CPACK_TEXTMAPS_ADDRKIT_PACKAGE})
  list(JOIN depends ", " CPACK_DEBIAN_TEXTMAPS_RUNTIME_PACKAGE_DEPENDS)
endif()
