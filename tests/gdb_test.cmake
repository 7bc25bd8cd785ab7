# What gdb shows of tickets, stores and records. The values of a ticket need the debug information of the library.
find_program(GDB gdb)
mark_as_advanced(GDB)
if(GDB AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo" AND NOT CONFIGURATIONCONTROL_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
    add_executable(gdb_host gdb/host.cpp gdb/records.c)
    target_compile_options(gdb_host PRIVATE ${CONFIGURATIONCONTROL_WARNINGS} -g)
    target_link_libraries(gdb_host PRIVATE ConfigurationControl)
    add_test(NAME Gdb.ShowsTicketsStoresAndRecords
        COMMAND ${CMAKE_COMMAND} -DGDB=${GDB} -DPROGRAM=$<TARGET_FILE:gdb_host>
            -DPRINTERS=${PROJECT_SOURCE_DIR}/packaging/printers-gdb.py -P ${CMAKE_CURRENT_LIST_DIR}/gdb/run.cmake)
    set_tests_properties(Gdb.ShowsTicketsStoresAndRecords PROPERTIES SKIP_REGULAR_EXPRESSION "Skipped: ")
endif()
