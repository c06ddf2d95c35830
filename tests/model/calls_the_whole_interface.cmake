# -DNM=... -DMODEL=archive -DSOURCE_DIR=...
# Every name that the version script lists is called by an operation of the model tests.
file(READ ${SOURCE_DIR}/src/textmaps.map script)
string(REPLACE ";" "" script "${script}")
string(REGEX MATCHALL "[a-z]*map_[a-z0-9_]+" names "${script}")

execute_process(COMMAND ${NM} --undefined-only ${MODEL}
                OUTPUT_VARIABLE undefined COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "U [a-z]*map_[a-z0-9_]+" called "${undefined}")
list(TRANSFORM called REPLACE "^U " "")

list(LENGTH names count)
list(REMOVE_ITEM names ${called})
if(count LESS 100 OR names)
  message(FATAL_ERROR "of ${count} names no operation calls: ${names}")
endif()
message(STATUS "${count} names")
