# The files that `cmake --install` installs, by component: runtime, development, tool, documentation, python.
include(CMakePackageConfigHelpers)

install(TARGETS ConfigurationControl EXPORT ConfigurationControlTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ConfigurationControl DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ConfigurationControl)
install(EXPORT ConfigurationControlTargets NAMESPACE ConfigurationControl:: DESTINATION ${package_dir}
    COMPONENT development)
configure_package_config_file(packaging/ConfigurationControlConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/ConfigurationControlConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ConfigurationControlConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ConfigurationControlConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/ConfigurationControlConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# The prefix is relative to the .pc file, so an installed tree may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pkgconfig_prefix)
foreach(dir LIBDIR INCLUDEDIR)  # these may be absolute paths outside the prefix
    set(pkgconfig_${dir} ${CMAKE_INSTALL_FULL_${dir}})
    cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX ${pkgconfig_${dir}} NORMALIZE below_prefix)
    if(below_prefix)
        cmake_path(RELATIVE_PATH pkgconfig_${dir} BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
        string(PREPEND pkgconfig_${dir} "\${prefix}/")
    endif()
endforeach()
# `pkg-config --static` lists the other libraries that hosts of the static library link.
set(pkgconfig_private "")
if(NOT BUILD_SHARED_LIBS)
    set(pkgconfig_private "Requires.private: pugixml\nLibs.private: -lstdc++ -lpthread -ldl\n")
endif()
configure_file(packaging/configurationcontrol.pc.in ${CMAKE_CURRENT_BINARY_DIR}/configurationcontrol.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/configurationcontrol.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# gdb loads it with the library, by the library's whole name; the prefix may be chosen at installation.
if(BUILD_SHARED_LIBS)
    set(installed_library_dir "${CMAKE_INSTALL_LIBDIR}")
    if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(installed_library_dir "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
    endif()
    install(FILES packaging/printers-gdb.py DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load/${installed_library_dir}
        RENAME libConfigurationControl.so.${PROJECT_VERSION}-gdb.py COMPONENT development)
endif()

if(NOT PROJECT_IS_TOP_LEVEL)  # documents, tool and packages only if this is the top-level project
    return()
endif()

find_program(GZIP gzip REQUIRED)
configure_file(cmake/Uninstall.cmake.in Uninstall.cmake @ONLY)
add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_BINARY_DIR}/Uninstall.cmake
    COMMENT "Removing what was installed from this build" VERBATIM)

set(docs_dir ${CMAKE_INSTALL_DATADIR}/doc/configurationcontrol-doc)
if(TARGET site)
    install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/site/html DESTINATION ${docs_dir} COMPONENT documentation)
    install(DIRECTORY examples DESTINATION ${docs_dir} COMPONENT documentation PATTERN "CMakeLists.txt" EXCLUDE)
endif()

set(CONFIGURATIONCONTROL_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Directory of the Python module below the prefix; by default where Debian's Python looks in /usr")
if(BUILD_SHARED_LIBS)  # the module loads the shared library
    install(DIRECTORY python/configurationcontrol DESTINATION ${CONFIGURATIONCONTROL_PYTHON_DIR} COMPONENT python
        PATTERN "__pycache__" EXCLUDE)
endif()

if(TARGET ticket)
    install(TARGETS ticket RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    execute_process(COMMAND ${GZIP} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/tool/ticket.1
        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/ticket.1.gz COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ticket.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES tool/ticket.bash RENAME ticket DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tool)
    install(FILES tool/ticket.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
    install(FILES tool/ticket.zsh RENAME _ticket DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
        COMPONENT tool)
endif()

include(cmake/Packages.cmake)
