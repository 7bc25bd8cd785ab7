# How the shared library is linked and compiled, read from the library itself. Sanitizers bring their own ways.
find_program(READELF readelf)
if(READELF AND NOT CONFIGURATIONCONTROL_SANITIZE)
    add_test(NAME Hardening.LibraryIsLinkedAndCompiledWithItsProtections
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/support/check_hardening $<TARGET_FILE:ConfigurationControl>)
endif()
