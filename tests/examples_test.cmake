# Runs every example with a golden/NAME.txt in a new directory, with the name of a settings file that does not exist. It
# must print exactly the golden text.
if(NOT CONFIGURATIONCONTROL_EXAMPLES)
    return()
endif()

file(GLOB goldens CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/golden/*.txt)
foreach(golden IN LISTS goldens)
    get_filename_component(name ${golden} NAME_WE)
    if(TARGET example_${name})
        add_test(NAME Examples.${name}
            COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:example_${name}> -DGOLDEN=${golden}
                "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
                -DDIRECTORY=${CMAKE_CURRENT_BINARY_DIR}/example_${name}
                -P ${CMAKE_CURRENT_SOURCE_DIR}/support/CompareOutput.cmake)
        # Hosts that load the library at run time find it by its name.
        set_tests_properties(Examples.${name} PROPERTIES
            ENVIRONMENT LD_LIBRARY_PATH=$<TARGET_FILE_DIR:ConfigurationControl>)
    endif()
endforeach()
