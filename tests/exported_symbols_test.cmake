# The exported symbols must not change: hosts were linked with them.
add_test(NAME ExportedSymbols.AreThoseOfTheCheckedInList
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compare_symbols $<TARGET_FILE:ConfigurationControl>)
add_test(NAME ExportedSymbols.AreThoseOfTheDebianPackage
    COMMAND sh -c "sed -n 's/^ \\(.*\\)@Base .*/\\1/p' \"$0\" | diff - \"$1\""
        ${PROJECT_SOURCE_DIR}/debian/libconfigurationcontrol1.symbols ${CMAKE_CURRENT_LIST_DIR}/exported_symbols.txt)
