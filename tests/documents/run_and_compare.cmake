# -DPROGRAM=... -DEXPECTED=file -DEMULATOR=...
execute_process(COMMAND ${EMULATOR} ${PROGRAM} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ ${EXPECTED} expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "prints:\n${printed}\nthe document says:\n${expected}")
endif()
