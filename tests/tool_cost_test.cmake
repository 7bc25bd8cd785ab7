# Compares what the tool costs on large files with what a load costs. Callgrind takes time, so only builds with instruction
# counts run it. Included after growth_test.cmake, which finds VALGRIND.
if(NOT TARGET growth OR NOT TARGET ticket)
    return()
endif()
add_executable(tool_cost ${CMAKE_CURRENT_LIST_DIR}/tool_cost/cost.cpp)
target_compile_options(tool_cost PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
target_link_libraries(tool_cost PRIVATE ConfigurationControl)
add_dependencies(tool_cost ticket)
add_test(NAME Growth.TheToolCostsFewLoadsOfALargeFile
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/tool_cost/run ${VALGRIND} $<TARGET_FILE:tool_cost> $<TARGET_FILE:ticket>
            ${CMAKE_CURRENT_BINARY_DIR}/tool_cost.out)
set_tests_properties(Growth.TheToolCostsFewLoadsOfALargeFile PROPERTIES LABELS growth TIMEOUT 900)
