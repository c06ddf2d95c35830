# -DNM=... -DLIBRARY=... -DSOURCE_DIR=...
# The names that the headers declare, the version script lists and the library exports are the same.

function(names_in text pattern variable)
  string(REGEX MATCHALL "${pattern}" names "${text}")
  list(TRANSFORM names REPLACE "[^a-z0-9_].*$" "")
  list(REMOVE_DUPLICATES names)
  list(SORT names)
  set(${variable} "${names}" PARENT_SCOPE)
endfunction()

file(GLOB headers ${SOURCE_DIR}/include/textmaps/*.h)
foreach(header ${headers})
  file(READ ${header} text)
  string(REGEX REPLACE "/\\*[^*]*\\*+([^/*][^*]*\\*+)*/" "" text "${text}")
  string(APPEND declarations "${text}")
endforeach()
names_in("${declarations}" "[a-z]*map_[a-z0-9_]+\\(" declared)

file(READ ${SOURCE_DIR}/src/textmaps.map script)
names_in("${script}" "[a-z]*map_[a-z0-9_]+[^a-z0-9_]" listed)

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
                OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9a-f]+ [TDBRVWi] [^\n]+" symbols "${symbols}")
list(TRANSFORM symbols REPLACE "^[0-9a-f]+ . ([^@]+).*$" "\\1")
list(SORT symbols)

list(LENGTH symbols count)
if(count LESS 100 OR NOT declared STREQUAL listed OR NOT listed STREQUAL symbols)
  message(FATAL_ERROR "declared: ${declared}\n\nlisted: ${listed}\n\nexported: ${symbols}")
endif()
message(STATUS "${count} names")
