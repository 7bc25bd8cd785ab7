# The packages, documentation included, as a user installs them. Not with sanitizers, since such a library needs the sanitizer's run time.
if(TARGET ticket AND TARGET site AND NOT CONFIGURATIONCONTROL_SANITIZE)
    add_test(NAME Packaging.InstalledPackagesServeEveryKindOfHost
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/packaging/run ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR}
                ${CMAKE_CXX_COMPILER})
    set_tests_properties(Packaging.InstalledPackagesServeEveryKindOfHost PROPERTIES TIMEOUT 300)
endif()
