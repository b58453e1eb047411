# Fails unless the loader finds all functions that LIBRARY calls when it loads it, not when they are first called.
execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
if(NOT "${dump}" MATCHES "BIND_NOW")
    message(FATAL_ERROR "${LIBRARY} looks for functions when they are first called")
endif()
