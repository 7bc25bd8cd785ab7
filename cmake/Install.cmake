# What `cmake --install` puts in place, as three components: runtime, development, tool.
include(CMakePackageConfigHelpers)
find_program(GZIP gzip REQUIRED)

install(TARGETS ConfigurationControl EXPORT ConfigurationControlTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
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

# The prefix is found from the place of the .pc file, so an installed tree may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pkgconfig_prefix)
foreach(dir LIBDIR INCLUDEDIR)  # which may be absolute, and elsewhere
    set(pkgconfig_${dir} ${CMAKE_INSTALL_FULL_${dir}})
    cmake_path(IS_PREFIX CMAKE_INSTALL_PREFIX ${pkgconfig_${dir}} NORMALIZE below_prefix)
    if(below_prefix)
        cmake_path(RELATIVE_PATH pkgconfig_${dir} BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
        string(PREPEND pkgconfig_${dir} "\${prefix}/")
    endif()
endforeach()
configure_file(packaging/configurationcontrol.pc.in ${CMAKE_CURRENT_BINARY_DIR}/configurationcontrol.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/configurationcontrol.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(docs_dir ${CMAKE_INSTALL_DATADIR}/doc/libconfigurationcontrol-dev)
# Placed as in the sources, so that the links between documents lead to files here too.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${docs_dir} COMPONENT development)
install(DIRECTORY docs DESTINATION ${docs_dir} COMPONENT development FILES_MATCHING PATTERN "*.md")
install(FILES tools/mutate_equivalent.txt DESTINATION ${docs_dir}/tools COMPONENT development)
install(DIRECTORY examples DESTINATION ${docs_dir} COMPONENT development PATTERN "CMakeLists.txt" EXCLUDE)

if(TARGET ticket)
    install(TARGETS ticket RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    execute_process(COMMAND ${GZIP} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/tool/ticket.1
        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/ticket.1.gz COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ticket.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES tool/ticket.bash RENAME ticket DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tool)
endif()

include(cmake/Packages.cmake)
