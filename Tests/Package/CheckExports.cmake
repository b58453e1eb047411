# Fails where LIBRARY exports what no public header in HEADERS (a folder) marks for export.
file(GLOB headers ${HEADERS}/*.h)
foreach(header IN LISTS headers)
    file(READ ${header} text)
    string(REGEX MATCHALL "MARBLEWICK_[A-Z]+_EXPORT[^;{(]*" marks "${text}")
    string(APPEND marked " ${marks} ")
endforeach()

# Strong symbols only: the weak ones are inline code of headers, most of it the standard library's.
execute_process(COMMAND ${NM} --dynamic --demangle --defined-only ${LIBRARY}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY
)
string(REGEX MATCHALL "[0-9a-f]+ [ABDRST] [^\n]+" symbols "${symbols}")
list(TRANSFORM symbols REPLACE "^[0-9a-f]+ . ([^(]+).*" "\\1")
# The linker's and the sanitizers' own, and the functions that Core stands in front of.
list(FILTER symbols EXCLUDE REGEX "^(__bss_start|_edata|_end|__odr_asan.*|pthread_create|__cxa_throw|__cxa_free_exception)$")
list(REMOVE_DUPLICATES symbols)
foreach(symbol IN LISTS symbols)
    string(REGEX REPLACE "^(vtable|typeinfo|typeinfo name) for " "" name "${symbol}")
    string(REGEX MATCHALL "[A-Za-z0-9_]+" parts "${name}")
    list(REMOVE_ITEM parts Marblewick)
    set(is_marked FALSE)
    foreach(part IN LISTS parts)
        if("${marked}" MATCHES "[ *&]${part}[^A-Za-z0-9_]")
            set(is_marked TRUE)
        endif()
    endforeach()
    if(NOT is_marked)
        message(SEND_ERROR "${LIBRARY} exports ${symbol}")
    endif()
endforeach()
