# -DREADELF=... -DLIBRARY=...
execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" needed "${dynamic}")
if(NOT needed MATCHES "^\\(NEEDED\\)[^;]*\\[libc\\.so\\.[0-9]+\\]$")
  message(FATAL_ERROR "libc is not the only library that is needed: ${needed}")
endif()
if(dynamic MATCHES "TEXTREL")
  message(FATAL_ERROR "the code is not position independent:\n${dynamic}")
endif()
