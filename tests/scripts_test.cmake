# The scripts of developers: some run for hours, so --help and a mistyped option must start nothing.
add_test(NAME Scripts.TellTheirUsageAndRefuseOptionsThatTheyDoNotKnow
    COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/scripts/usage_test ${PROJECT_SOURCE_DIR})
