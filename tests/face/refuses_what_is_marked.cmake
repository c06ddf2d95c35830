# -DCOMPILE=command;arguments... -DSOURCE=file
# Compiles the source, which must fail at each line that ends with "// refused", and at no other.
get_filename_component(name ${SOURCE} NAME)

file(READ ${SOURCE} text)
string(REPLACE ";" "" text "${text}")
string(REPLACE "\n" ";" lines "${text}")
set(number 0)
foreach(line IN LISTS lines)
  math(EXPR number "${number} + 1")
  if(line MATCHES "// refused$")
    list(APPEND marked ${number})
  endif()
endforeach()

execute_process(COMMAND ${COMPILE} ${SOURCE} RESULT_VARIABLE result ERROR_VARIABLE said)
string(REGEX MATCHALL "${name}:[0-9]+:[0-9]+:" refused "${said}")
list(TRANSFORM refused REPLACE "^${name}:([0-9]+):.*$" "\\1")
list(REMOVE_DUPLICATES refused)
list(SORT refused COMPARE NATURAL)

if(result EQUAL 0 OR NOT refused STREQUAL marked OR NOT said MATCHES "no row stores this type")
  message(FATAL_ERROR "marked: ${marked}\nrefused: ${refused}\n${said}")
endif()
