# The API reference is generated without a warning: every public declaration has a docstring, and its references resolve.
find_program(DOXYGEN doxygen)
if(NOT DOXYGEN)
    message(STATUS "doxygen is not installed: no API reference and no check of the docstrings")
    return()
endif()

configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(api_reference COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "API reference in ${PROJECT_BINARY_DIR}/api/html/index.html" VERBATIM)

# Not with sanitizers: the headers are the same in every build.
if(NOT CONFIGURATIONCONTROL_SANITIZE)
    add_test(NAME Docs.EveryPublicDeclarationIsDocumented COMMAND ${DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile)
endif()
