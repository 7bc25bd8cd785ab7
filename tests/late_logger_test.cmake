# Tests the order of libraries: the dynamic linker finds our library's fallback logger before the host's logger.
add_library(late_logger SHARED ${CMAKE_CURRENT_LIST_DIR}/late_logger/logger.cpp)
add_executable(late_logger_test ${CMAKE_CURRENT_LIST_DIR}/late_logger/late_logger_test.cpp)
foreach(target late_logger late_logger_test)
    target_compile_options(${target} PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include)
endforeach()
target_link_libraries(late_logger_test PRIVATE ConfigurationControl late_logger GTest::gtest GTest::gtest_main)
gtest_discover_tests(late_logger_test DISCOVERY_TIMEOUT 60)
