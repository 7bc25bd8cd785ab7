# Runs PROGRAM, through EMULATOR if that is not empty, with the argument "settings.xml" in the emptied DIRECTORY and
# compares its output with the file GOLDEN.
file(REMOVE_RECURSE ${DIRECTORY})
file(MAKE_DIRECTORY ${DIRECTORY})
execute_process(COMMAND ${EMULATOR} ${PROGRAM} settings.xml WORKING_DIRECTORY ${DIRECTORY}
    OUTPUT_FILE printed.txt RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    file(READ ${DIRECTORY}/printed.txt printed)
    message(FATAL_ERROR "${PROGRAM} ended with ${result} after printing:\n${printed}")
endif()
execute_process(COMMAND diff -u ${GOLDEN} ${DIRECTORY}/printed.txt RESULT_VARIABLE different)
if(NOT different EQUAL 0)
    message(FATAL_ERROR "the output differs from ${GOLDEN}")
endif()
