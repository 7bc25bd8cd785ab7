# The units in which bytes are compared, with the kind of plain char that this processor does not have: the same files, the
# same order, the same matches. Built once more for it; only in the everyday build, for what differs is in the language.
if(CONFIGURATIONCONTROL_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR NOT CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    return()
endif()
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("static_assert(static_cast<char>(-1) < 0, \"\"); int main() {}" PLAIN_CHAR_IS_SIGNED)
set(other_char $<IF:$<BOOL:${PLAIN_CHAR_IS_SIGNED}>,-funsigned-char,-fsigned-char>)

get_target_property(core_sources ConfigurationControlCore SOURCES)
list(TRANSFORM core_sources PREPEND ${PROJECT_SOURCE_DIR}/ REGEX "^[^/]")
add_library(core_of_other_char OBJECT EXCLUDE_FROM_ALL ${core_sources})
target_include_directories(core_of_other_char PRIVATE $<TARGET_PROPERTY:ConfigurationControlCore,INCLUDE_DIRECTORIES>)
target_compile_options(core_of_other_char PRIVATE -O0 -g0 -U_FORTIFY_SOURCE ${other_char})
target_link_libraries(core_of_other_char PUBLIC pugixml::static Threads::Threads)
foreach(name locale_test file_golden_test wildcard_test)
    add_executable(${name}_of_other_char ${CMAKE_CURRENT_LIST_DIR}/${name}.cpp)
    target_compile_options(${name}_of_other_char PRIVATE -O0 -g0 -U_FORTIFY_SOURCE ${other_char})
    target_include_directories(${name}_of_other_char PRIVATE $<TARGET_PROPERTY:ConfigurationControlCore,INCLUDE_DIRECTORIES>)
    target_link_libraries(${name}_of_other_char PRIVATE core_of_other_char GTest::gtest GTest::gmock GTest::gtest_main)
    gtest_discover_tests(${name}_of_other_char DISCOVERY_TIMEOUT 60 TEST_PREFIX OtherChar.
        PROPERTIES ENVIRONMENT LOCPATH=${test_locales} LABELS locale)
endforeach()
