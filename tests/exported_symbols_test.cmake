# What leaves the library is a promise to every host that was linked with it.
add_test(NAME ExportedSymbols.AreThoseOfTheCheckedInList
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compare_symbols $<TARGET_FILE:ConfigurationControl>)
