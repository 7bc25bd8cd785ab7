# Checks the hardening of the shared library in its binary. Not with sanitizers, which change compilation and linking.
find_program(READELF readelf)
if(READELF AND NOT CONFIGURATIONCONTROL_SANITIZE)
    add_test(NAME Hardening.LibraryIsLinkedAndCompiledWithItsProtections
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/support/check_hardening $<TARGET_FILE:ConfigurationControl>)
endif()
