# Runs GDB on PROGRAM with the PRINTERS and compares what it prints with expected.txt.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${GDB} -nx -batch -x ${PRINTERS} -x ${CMAKE_CURRENT_LIST_DIR}/commands ${PROGRAM}
    OUTPUT_VARIABLE output ERROR_VARIABLE messages)
if(messages MATCHES "ptrace: Operation not permitted")
    message("Skipped: gdb may not trace here")
    return()
endif()
string(REGEX MATCHALL "\n\\$[^\n]+" printed "${output}")
list(JOIN printed "" printed)
file(READ ${CMAKE_CURRENT_LIST_DIR}/expected.txt expected)
if(NOT "${printed}\n" STREQUAL "\n${expected}")
    message(FATAL_ERROR "Expected:\n${expected}\nPrinted:${printed}\nMessages:\n${messages}")
endif()
