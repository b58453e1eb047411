# Fails unless the libraries that LIBRARY loads are exactly those in EXPECTED, beside the language's and the
# sanitizers' own.
execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "NEEDED +[^\n]+" loaded "${dump}")
list(TRANSFORM loaded REPLACE "NEEDED +" "")
list(FILTER loaded EXCLUDE REGEX "^(lib(c|m|stdc\\+\\+|gcc_s|asan|ubsan|tsan)|ld-linux.*)\\.so")
if(NOT "${loaded}" STREQUAL "${EXPECTED}")
    message(FATAL_ERROR "${LIBRARY} loads: ${loaded}")
endif()
