# textmaps_addrkit: the address library, the stand-in or the platform's own.
#
# The stand-in is a static library that goes into libtextmaps hidden and is installed beside it, so
# that a program which calls it links -ltextmaps -laddrkit, as it would on a platform with its own. It
# is in C, so that C programs are linked as C.
if(TEXTMAPS_PLATFORM_ADDRKIT)
  list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
  find_package(addrkit MODULE REQUIRED)
  list(POP_FRONT CMAKE_MODULE_PATH)
  add_library(textmaps_addrkit INTERFACE)
  # A project around this one does not see the target that was found here.
  target_include_directories(textmaps_addrkit INTERFACE $<BUILD_INTERFACE:${ADDRKIT_INCLUDE_DIR}>)
  target_link_libraries(textmaps_addrkit INTERFACE
    $<BUILD_INTERFACE:${ADDRKIT_LIBRARY}> $<INSTALL_INTERFACE:addrkit::addrkit>)
else()
  add_library(textmaps_addrkit STATIC addrkit/addrkit.c)
  textmaps_library_code(textmaps_addrkit)
  set_target_properties(textmaps_addrkit PROPERTIES OUTPUT_NAME addrkit)
  target_include_directories(textmaps_addrkit PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/addrkit>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endif()
set_target_properties(textmaps_addrkit PROPERTIES EXPORT_NAME addrkit)
