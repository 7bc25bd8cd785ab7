# A host's logger is heard where the dynamic linker finds it behind our library, whose fallback logger it meets first, and where it
# is in the host's executable. That one is linked at fixed addresses, where it may also get copies of the library's data.
add_library(late_logger SHARED ${CMAKE_CURRENT_LIST_DIR}/host_logger/logger.cpp)
add_executable(late_logger_test ${CMAKE_CURRENT_LIST_DIR}/host_logger/late_logger_test.cpp)
target_link_libraries(late_logger_test PRIVATE ConfigurationControl late_logger)
add_executable(own_logger_test
    ${CMAKE_CURRENT_LIST_DIR}/host_logger/own_logger_test.cpp ${CMAKE_CURRENT_LIST_DIR}/host_logger/logger.cpp)
target_compile_options(own_logger_test PRIVATE -fno-pie)
target_link_options(own_logger_test PRIVATE -no-pie)
target_link_libraries(own_logger_test PRIVATE ConfigurationControl)
foreach(target late_logger late_logger_test own_logger_test)
    target_compile_options(${target} PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include)
endforeach()
foreach(program late_logger_test own_logger_test)
    target_link_libraries(${program} PRIVATE GTest::gtest GTest::gtest_main)
    gtest_discover_tests(${program} DISCOVERY_TIMEOUT 60)
endforeach()
