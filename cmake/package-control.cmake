# Included by cpack when the packages are built: what it writes otherwise than Debian does.
find_program(dpkg_deb dpkg-deb REQUIRED)
set(tree ${CPACK_TEMPORARY_DIRECTORY}/package)

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND ${dpkg_deb} --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)

  # dpkg runs ldconfig, once for all packages that it installs, and not inside another root.
  if(EXISTS ${tree}/DEBIAN/shlibs)
    file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
    file(WRITE ${tree}/DEBIAN/triggers "activate-noawait ldconfig\n")
  endif()

  # The sums of debug symbols name files where cpack had them.
  file(READ ${tree}/DEBIAN/md5sums sums)
  string(REGEX REPLACE "  /[^\n]*-dbgsym/" "  " sums "${sums}")
  file(WRITE ${tree}/DEBIAN/md5sums "${sums}")

  execute_process(COMMAND ${dpkg_deb} --root-owner-group --build ${tree} ${package}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
