# A host that links an XML library of its own: the shared library must go on calling the one inside it.
if(NOT BUILD_SHARED_LIBS)
    return()
endif()
add_executable(own_xml_library_test ${CMAKE_CURRENT_LIST_DIR}/own_xml_library/own_xml_library_test.cpp)
set_target_properties(own_xml_library_test PROPERTIES ENABLE_EXPORTS ON)
target_compile_options(own_xml_library_test PRIVATE ${CONFIGURATIONCONTROL_WARNINGS})
target_link_libraries(own_xml_library_test PRIVATE ConfigurationControl GTest::gtest GTest::gtest_main)
gtest_discover_tests(own_xml_library_test DISCOVERY_TIMEOUT 60)
