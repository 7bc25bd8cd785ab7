# Compiling a file that includes Store.h costs at most 1.3 times what the standard headers cost that it needs. Callgrind
# takes time, so only builds with instruction counts run it. Included after instruction_counts_test.cmake, which finds
# VALGRIND.
if(counts_missing)
    return()
endif()
add_test(NAME StoreCompileCost.IsLessThanAThirdAboveThatOfTheStandardHeaders
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compile_cost ${VALGRIND} ${CMAKE_CXX_COMPILER}
            ${PROJECT_SOURCE_DIR}/include 130 ${CMAKE_CURRENT_BINARY_DIR}/compile_cost.out)
set_tests_properties(StoreCompileCost.IsLessThanAThirdAboveThatOfTheStandardHeaders PROPERTIES TIMEOUT 900)
