# The target "site": documents and API reference in ${PROJECT_BINARY_DIR}/site/html. A part of "all", because it is installed.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
if(NOT DOXYGEN OR NOT MKDOCS OR NOT MKDOCS_MATERIAL)
    message(FATAL_ERROR "CONFIGURATIONCONTROL_SITE is ON: it needs doxygen, mkdocs and mkdocs-material")
endif()

file(GLOB site_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md)
file(GLOB_RECURSE more_site_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/docs/* ${PROJECT_SOURCE_DIR}/examples/* ${PROJECT_SOURCE_DIR}/include/*.h)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/site/stamp
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/docs/site/build.py ${PROJECT_BINARY_DIR}/site
    COMMAND ${CMAKE_COMMAND} -E touch ${PROJECT_BINARY_DIR}/site/stamp
    DEPENDS ${site_sources} ${more_site_sources} ${PROJECT_SOURCE_DIR}/CMakeLists.txt
        ${PROJECT_SOURCE_DIR}/tools/mutate_equivalent.txt
    COMMENT "Site in ${PROJECT_BINARY_DIR}/site/html/index.html" VERBATIM)
add_custom_target(site ALL DEPENDS ${PROJECT_BINARY_DIR}/site/stamp)
