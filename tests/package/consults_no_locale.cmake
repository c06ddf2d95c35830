# -DNM=... -DLIBRARY=...
# The hash is the same in every locale: no table and no function of the C library classifies or folds
# a character for it. (strcasecmp compares keys, by contract in the program's locale.)
execute_process(COMMAND ${NM} -D --undefined-only ${LIBRARY}
                OUTPUT_VARIABLE undefined COMMAND_ERROR_IS_FATAL ANY)
if(undefined MATCHES "toupper|tolower|ctype|isalpha|islower|locale")
  message(FATAL_ERROR "depends on the locale:\n${undefined}")
endif()
