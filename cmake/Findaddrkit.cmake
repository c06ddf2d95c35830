# The platform's address library: the target addrkit::addrkit. Installed beside textmaps-config.cmake,
# so that a consumer looks for it on its own system.
find_path(ADDRKIT_INCLUDE_DIR addrkit.h DOC "Directory of the platform's addrkit.h")
find_library(ADDRKIT_LIBRARY addrkit DOC "The platform's libaddrkit")

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(addrkit REQUIRED_VARS ADDRKIT_LIBRARY ADDRKIT_INCLUDE_DIR)

if(addrkit_FOUND AND NOT TARGET addrkit::addrkit)
  add_library(addrkit::addrkit UNKNOWN IMPORTED)
  set_target_properties(addrkit::addrkit PROPERTIES
    IMPORTED_LOCATION ${ADDRKIT_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${ADDRKIT_INCLUDE_DIR})
endif()
