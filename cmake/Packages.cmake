# Debian packages by `cpack`: runtime library, development files, tool.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME configurationcontrol)
set(CPACK_PACKAGE_VENDOR "ConfigurationControl maintainers")
# The project's would stand in front of what each package says of itself.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "ConfigurationControl maintainers <maintainers@configurationcontrol.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# One row a package: component, name, section, dependencies besides those found in the binaries, what it is in one line and
# in several.
function(add_package component name section depends summary)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    list(JOIN ARGN "\n" details)  # CPack puts the blanks in front of the lines
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${details}" PARENT_SCOPE)

    set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/${name})
    install(FILES packaging/copyright DESTINATION ${doc_dir} COMPONENT ${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc_dir} COMPONENT ${component})
endfunction()

# Debian wants a change log of its own form in every package.
configure_file(packaging/changelog.in changelog @ONLY)
execute_process(COMMAND ${GZIP} -9nfk changelog WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMAND_ERROR_IS_FATAL ANY)

set(soname_package libconfigurationcontrol${PROJECT_VERSION_MAJOR})
add_package(runtime ${soname_package} libs ""
    "typed persistent settings store (shared library)"
    "An ordered store of typed values, in memory or bound to one XML file,"
    "behind a fixed table of functions, and the settings service of a"
    "desktop client on top of it.")
add_package(development libconfigurationcontrol-dev libdevel "${soname_package} (= ${PROJECT_VERSION})"
    "typed persistent settings store (development files)"
    "Headers, CMake and pkg-config files, guides and examples for programs"
    "that use the ConfigurationControl library.")
if(TARGET ticket)
    list(APPEND CPACK_COMPONENTS_ALL tool)
    add_package(tool configurationcontrol-tools utils "${soname_package} (>= ${PROJECT_VERSION})"
        "look into and mend ticket settings files"
        "The ticket command lists, reads, changes, compares, checks and converts"
        "the XML settings files of the ConfigurationControl library.")
endif()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/packaging/triggers)

include(CPack)
