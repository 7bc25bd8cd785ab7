# The command-line tool, run as a user runs it. The test program links only those sources of the
# project whose delays it shortens or whose races it controls.
if(NOT TARGET ticket)
    return()
endif()

file(GLOB tool_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tool/*.cpp)
add_executable(tool_test ${tool_tests} 
    ${PROJECT_SOURCE_DIR}/tool/MemoryFile.cpp ${PROJECT_SOURCE_DIR}/tool/Owner.cpp ${PROJECT_SOURCE_DIR}/tool/Turn.cpp)
target_compile_options(tool_test PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
target_include_directories(tool_test PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include
    ${PROJECT_SOURCE_DIR})
target_compile_definitions(tool_test PRIVATE TICKET_PROGRAM="$<TARGET_FILE:ticket>" TOOL_SOURCES="${PROJECT_SOURCE_DIR}/tool")
target_link_libraries(tool_test PRIVATE GTest::gtest GTest::gmock GTest::gtest_main Threads::Threads)
add_dependencies(tool_test ticket)
precompile_gtest(tool_test)
gtest_discover_tests(tool_test DISCOVERY_TIMEOUT 60)
