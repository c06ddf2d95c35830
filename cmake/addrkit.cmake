# textmaps_addrkit: the address library, the stand-in or the platform's own.
#
# The stand-in is a static library that goes into libtextmaps hidden and is installed beside it, so
# that a program which calls it links -ltextmaps -laddrkit, as it would on a platform with its own. It
# is in C, so that C programs are linked as C.
if(TEXTMAPS_PLATFORM_ADDRKIT)
  find_path(ADDRKIT_INCLUDE_DIR addrkit.h REQUIRED
            DOC "Directory of the platform's addrkit.h")
  find_library(ADDRKIT_LIBRARY addrkit REQUIRED
               DOC "The platform's libaddrkit")
  add_library(textmaps_addrkit INTERFACE)
  target_include_directories(textmaps_addrkit INTERFACE ${ADDRKIT_INCLUDE_DIR})
  target_link_libraries(textmaps_addrkit INTERFACE ${ADDRKIT_LIBRARY})
else()
  add_library(textmaps_addrkit STATIC addrkit/addrkit.c)
  textmaps_library_code(textmaps_addrkit)
  set_target_properties(textmaps_addrkit PROPERTIES OUTPUT_NAME addrkit)
  target_include_directories(textmaps_addrkit PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/addrkit>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS textmaps_addrkit ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES addrkit/addrkit.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
