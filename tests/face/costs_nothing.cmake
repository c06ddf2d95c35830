# -DNM=... -DC=object -DCPP=object
# The same functions, with those of C and with the C++ face: the face calls nothing else, and its code
# is no longer. A few bytes more or less come from how a compiler orders branches; an address is
# copied once, into the result.
set(slack 12)
set(slack_of_read_address 40)

# What an object calls, and "name size" of what it defines, both sorted.
function(look_into object calls functions)
  execute_process(COMMAND ${NM} --undefined-only ${object}
                  OUTPUT_VARIABLE undefined COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[A-Za-z0-9_]+\n" undefined "${undefined}")
  list(TRANSFORM undefined STRIP)
  set(${calls} ${undefined} PARENT_SCOPE)

  execute_process(COMMAND ${NM} --print-size --defined-only ${object}
                  OUTPUT_VARIABLE defined COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[0-9a-f]+ T [a-z_]+" defined "${defined}")
  list(TRANSFORM defined REPLACE "^(.*) T (.*)$" "\\2 0x\\1")
  list(SORT defined)
  set(${functions} ${defined} PARENT_SCOPE)
endfunction()

look_into(${C} c_calls c_functions)
look_into(${CPP} cpp_calls cpp_functions)

list(LENGTH c_functions count)
if(count LESS 10)
  message(FATAL_ERROR "functions in C: ${c_functions}")
endif()

list(REMOVE_ITEM cpp_calls ${c_calls})
if(cpp_calls)
  message(FATAL_ERROR "only the face calls ${cpp_calls}")
endif()

foreach(c cpp IN ZIP_LISTS c_functions cpp_functions)
  separate_arguments(c)
  separate_arguments(cpp)
  list(GET c 0 name)
  list(GET c 1 c_size)
  list(GET cpp 1 cpp_size)
  math(EXPR more "${cpp_size} - ${c_size}")
  list(APPEND table "${name}: ${more}")
  if(NOT DEFINED slack_of_${name})
    set(slack_of_${name} ${slack})
  endif()
  if(NOT cpp MATCHES "^${name};" OR more GREATER slack_of_${name})
    set(failed TRUE)
  endif()
endforeach()
list(JOIN table "\n" table)
message(STATUS "bytes of code more than in C:\n${table}")
if(failed)
  message(FATAL_ERROR "the face costs something")
endif()
