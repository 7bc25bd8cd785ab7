# Debian and RPM packages by `cpack`, which needs no distribution's tools: the same packages and files as in debian/.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME configurationcontrol)
set(CPACK_PACKAGE_VENDOR "ConfigurationControl maintainers")
# The project's summary would be put in front of each package's own description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
# Debian's format requires an address; distributors set their own.
set(CONFIGURATIONCONTROL_MAINTAINER "Maintainer not chosen yet <not-chosen-yet@maintainer.example>"
    CACHE STRING "Name and address that packages give as their maintainer's")
set(CPACK_PACKAGE_CONTACT ${CONFIGURATIONCONTROL_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The trigger runs ldconfig. CPack would also write two scripts that do, which lintian rejects. It does not write them if
# the list names such scripts, and it skips, with a warning, files of the list that do not exist.
configure_file(packaging/shlibs.in shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/triggers ${CMAKE_CURRENT_BINARY_DIR}/shlibs
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/none/postinst ${CMAKE_CURRENT_SOURCE_DIR}/packaging/none/postrm)

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_VENDOR ${CPACK_PACKAGE_VENDOR})
# Build IDs as in the Debian packages. CPack has no variable for the packager.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none\nPackager: ${CONFIGURATIONCONTROL_MAINTAINER}")
set(CPACK_RPM_DEVELOPMENT_PACKAGE_GROUP Development/Libraries)
set(CPACK_RPM_PACKAGE_LICENSE LicenseRef-not-chosen-yet)
set(CPACK_RPM_RUNTIME_POST_INSTALL_SCRIPT_FILE ${CMAKE_CURRENT_SOURCE_DIR}/packaging/ldconfig)
set(CPACK_RPM_RUNTIME_POST_UNINSTALL_SCRIPT_FILE ${CMAKE_CURRENT_SOURCE_DIR}/packaging/ldconfig)
cmake_path(GET CONFIGURATIONCONTROL_PYTHON_DIR PARENT_PATH python_parent_dir)
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/${python_parent_dir} /usr/${CONFIGURATIONCONTROL_PYTHON_DIR} /usr/share/man /usr/share/man/man1
    /usr/share/bash-completion /usr/share/bash-completion/completions)

# Debian and RPM require a change log in their own format in every package.
find_program(GZIP gzip REQUIRED)
configure_file(packaging/changelog.in changelog @ONLY)
execute_process(COMMAND ${GZIP} -9nfk changelog WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMAND_ERROR_IS_FATAL ANY)

# One row for each package: component, name, section, summary, description. After DEPENDS: dependencies besides the
# libraries found in its programs. INDEPENDENT: the package is the same for all architectures.
function(add_package component name section summary)
    cmake_parse_arguments(PARSE_ARGV 4 package INDEPENDENT "" "DETAILS;DEPENDS")
    string(TOUPPER ${component} key)
    list(JOIN package_DETAILS "\n" details)  # CPack indents the lines
    list(JOIN package_DEPENDS ", " depends)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${details}" PARENT_SCOPE)
    string(REGEX REPLACE "[()]" "" rpm_depends "${depends}")
    string(REGEX REPLACE "-dev$" "-devel" rpm_name ${name})
    set(CPACK_RPM_${key}_PACKAGE_NAME ${rpm_name} PARENT_SCOPE)
    set(CPACK_RPM_${key}_PACKAGE_REQUIRES "${rpm_depends}" PARENT_SCOPE)
    string(SUBSTRING "${summary}" 0 1 initial)  # RPM summaries begin with a capital, Debian's do not
    string(TOUPPER ${initial} initial)
    string(SUBSTRING "${summary}" 1 -1 remainder)
    set(CPACK_RPM_${key}_PACKAGE_SUMMARY "${initial}${remainder}" PARENT_SCOPE)
    string(REPLACE "\n.\n" "\n\n" details "${details}")  # Debian's empty line
    set(CPACK_RPM_${key}_PACKAGE_DESCRIPTION "${details}" PARENT_SCOPE)
    if(package_INDEPENDENT)
        set(CPACK_DEBIAN_${key}_PACKAGE_ARCHITECTURE all PARENT_SCOPE)
        set(CPACK_RPM_${key}_PACKAGE_ARCHITECTURE noarch PARENT_SCOPE)
    else()
        set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON PARENT_SCOPE)
    endif()
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)

    set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/${name})
    install(FILES packaging/copyright DESTINATION ${doc_dir} COMPONENT ${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc_dir}
        COMPONENT ${component})
endfunction()

set(soname_package libconfigurationcontrol${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL)
if(BUILD_SHARED_LIBS)
    add_package(runtime ${soname_package} libs "typed persistent settings store (shared library)" DETAILS
        "An ordered store of typed values, in memory or bound to one XML file,"
        "behind a fixed table of functions, and the settings service of a"
        "desktop client on top of it.")
    set(exact_runtime "${soname_package} (= ${PROJECT_VERSION})")
    set(any_runtime "${soname_package} (>= ${PROJECT_VERSION})")
endif()
add_package(development libconfigurationcontrol-dev libdevel "typed persistent settings store (development files)"
    DEPENDS ${exact_runtime} DETAILS
    "An ordered store of typed values, in memory or bound to one XML file."
    "."
    "This package contains the headers, and the files by which CMake and"
    "pkg-config find the library.")
if(TARGET ticket)
    add_package(tool configurationcontrol-tools utils "show, check and change ticket settings files"
        DEPENDS ${any_runtime} DETAILS
        "The ticket command lists, reads, changes, compares, checks and converts"
        "the XML settings files of the ConfigurationControl library.")
endif()
if(TARGET site)
    add_package(documentation configurationcontrol-doc doc "typed persistent settings store (documentation)" INDEPENDENT DETAILS
        "Guides, file format, API reference and examples of the"
        "ConfigurationControl library, as one site to be read in a browser.")
endif()
if(BUILD_SHARED_LIBS)
    add_package(python python3-configurationcontrol python "typed persistent settings store (Python 3 module)" INDEPENDENT
        DEPENDS ${any_runtime} "python3" DETAILS
        "Reads and writes the tickets of the ConfigurationControl library from"
        "Python: a mutable mapping from keys to typed values, in memory or bound"
        "to one XML file.")
endif()

include(CPack)
