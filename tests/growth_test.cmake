# Counts how instructions grow with the input. Callgrind takes half a minute, so only builds with instruction counts run it.
find_program(VALGRIND valgrind)
find_path(VALGRIND_INCLUDE valgrind/callgrind.h)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR CONFIGURATIONCONTROL_SANITIZE OR NOT VALGRIND OR NOT VALGRIND_INCLUDE)
    return()
endif()
add_executable(growth ${CMAKE_CURRENT_LIST_DIR}/growth/growth.cpp)
target_compile_options(growth PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
target_include_directories(growth SYSTEM PRIVATE ${VALGRIND_INCLUDE})
target_link_libraries(growth PRIVATE ConfigurationControl)
add_test(NAME Growth.TenTimesTheInputCostsAtMostTwelveTimesAsMuch
    COMMAND ${CMAKE_COMMAND} -DVALGRIND=${VALGRIND} -DPROGRAM=$<TARGET_FILE:growth>
            -DDIRECTORY=${CMAKE_CURRENT_BINARY_DIR}/growth.out -P ${CMAKE_CURRENT_LIST_DIR}/growth/growth.cmake)
set_tests_properties(Growth.TenTimesTheInputCostsAtMostTwelveTimesAsMuch PROPERTIES LABELS growth TIMEOUT 900)
