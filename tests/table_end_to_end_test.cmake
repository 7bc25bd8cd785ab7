# A host built without our headers: it opens the shared library at run time and uses offsets only.
add_executable(table_end_to_end ${CMAKE_CURRENT_LIST_DIR}/table_end_to_end.cpp)
target_compile_options(table_end_to_end PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
target_compile_definitions(table_end_to_end PRIVATE LIBRARY="$<TARGET_FILE:ConfigurationControl>")
target_link_libraries(table_end_to_end PRIVATE GTest::gtest GTest::gmock GTest::gtest_main ${CMAKE_DL_LIBS})
add_dependencies(table_end_to_end ConfigurationControl)
precompile_gtest(table_end_to_end)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND CONFIGURATIONCONTROL_SANITIZE MATCHES "undefined")
    # The program calls entries by offset, hence with other function types than they were declared with.
    target_compile_options(table_end_to_end PRIVATE -fno-sanitize=function)
endif()
gtest_discover_tests(table_end_to_end DISCOVERY_TIMEOUT 60)
