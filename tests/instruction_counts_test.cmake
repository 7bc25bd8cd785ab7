# Compares the instruction counts of the hot operations with the record, which is valid for the release build by one
# compiler only.
set(counts_record ${CMAKE_CURRENT_SOURCE_DIR}/instruction_counts.txt)
find_program(VALGRIND valgrind)
find_path(VALGRIND_INCLUDE valgrind/callgrind.h)
mark_as_advanced(VALGRIND VALGRIND_INCLUDE)

set(counts_missing "")
if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR CONFIGURATIONCONTROL_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(counts_missing "this is not the release build by g++")
elseif(NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    set(counts_missing "the counts on record are those of another processor")
elseif(NOT VALGRIND OR NOT VALGRIND_INCLUDE)
    set(counts_missing "valgrind is not installed")
endif()

if(counts_missing)
    add_test(NAME instruction_counts COMMAND ${CMAKE_COMMAND} -E echo "Skipped: ${counts_missing}")
    set_tests_properties(instruction_counts PROPERTIES SKIP_REGULAR_EXPRESSION "Skipped: ")
else()
    add_executable(instruction_counts ../bench/counts.cpp ../bench/Workload.cpp)
    target_compile_options(instruction_counts PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
    target_include_directories(instruction_counts PRIVATE ../bench)
    target_include_directories(instruction_counts SYSTEM PRIVATE ${VALGRIND_INCLUDE})
    target_link_libraries(instruction_counts PRIVATE ConfigurationControl)
    set(counts_command ${CMAKE_COMMAND} -DVALGRIND=${VALGRIND} -DPROGRAM=$<TARGET_FILE:instruction_counts>
        -DRECORD=${counts_record} -DDIRECTORY=${CMAKE_CURRENT_BINARY_DIR}/instruction_counts.out)
    add_test(NAME instruction_counts COMMAND ${counts_command} -P ${CMAKE_CURRENT_SOURCE_DIR}/instruction_counts.cmake)
    set_tests_properties(instruction_counts PROPERTIES RUN_SERIAL ON)
    # "cmake --build build/release --target record_instruction_counts" after an intended change.
    add_custom_target(record_instruction_counts
        COMMAND ${counts_command} -DUPDATE=ON -P ${CMAKE_CURRENT_SOURCE_DIR}/instruction_counts.cmake
        DEPENDS instruction_counts VERBATIM)
endif()
