# Runs PROGRAM with VALGRIND in DIRECTORY, which is emptied first. Sets `counts` to a list of "NAME SIZE INSTRUCTIONS",
# one for each measured operation, and `messages` to the program's output.
file(REMOVE_RECURSE ${DIRECTORY})
file(MAKE_DIRECTORY ${DIRECTORY})
execute_process(
    COMMAND ${VALGRIND} --tool=callgrind --collect-atstart=no --callgrind-out-file=${DIRECTORY}/out
            ${PROGRAM} ${DIRECTORY}/ticket.xml
    RESULT_VARIABLE result ERROR_VARIABLE messages)
if(result)
    message(FATAL_ERROR "${messages}")
endif()

set(counts "")
file(GLOB dumps ${DIRECTORY}/out.*)
list(SORT dumps COMPARE NATURAL)
foreach(dump IN LISTS dumps)
    file(STRINGS ${dump} name REGEX "^desc: Trigger: Client Request: ")
    file(STRINGS ${dump} total REGEX "^totals: ")
    if(name AND total)
        string(REPLACE "desc: Trigger: Client Request: " "" name "${name}")
        string(REPLACE "totals: " "" total "${total}")
        list(APPEND counts "${name} ${total}")
    endif()
endforeach()
