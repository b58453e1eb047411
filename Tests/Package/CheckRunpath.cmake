# Fails unless LIBRARY looks for the libraries it loads in its own folder first, wherever that is.
execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
if(NOT "${dump}" MATCHES "RUNPATH +\\$ORIGIN\n")
    message(FATAL_ERROR "${LIBRARY} does not look in its own folder")
endif()
