# Fails where the code in ARCHIVES calls a function that the list in DOCUMENT does not name.
file(READ ${DOCUMENT} text)
if(NOT text MATCHES "\n- calls only these functions:(.*)A test compares the object files")
    message(FATAL_ERROR "${DOCUMENT} lists no functions that the crash handler may call")
endif()
string(REGEX MATCHALL "`[a-z0-9_]+`" allowed "${CMAKE_MATCH_1}")
list(TRANSFORM allowed REPLACE "`" "")
# What the compiler adds itself: errno's place, tables, and the ways of exceptions, of which there are none.
list(APPEND allowed __errno_location _GLOBAL_OFFSET_TABLE_ __gxx_personality_v0 __stack_chk_fail _Unwind_Resume
    _ZSt24__throw_out_of_range_fmtPKcz
)

foreach(kind undefined defined)
    execute_process(COMMAND ${NM} --${kind}-only ${ARCHIVES} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL " [A-Za-z] [^\n]+" ${kind} "${symbols}")
    list(TRANSFORM ${kind} REPLACE "^ . " "")
endforeach()
list(LENGTH undefined count)
if(count EQUAL 0)
    message(FATAL_ERROR "nothing is called in ${ARCHIVES}")
endif()
list(REMOVE_DUPLICATES undefined)
list(REMOVE_ITEM undefined ${defined} ${allowed})
foreach(function IN LISTS undefined)
    message(SEND_ERROR "the crash handler calls ${function}")
endforeach()
