# Checks the documentation: every code sample is part of a program that the tests run, and every session of the tool is
# run and its output compared.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND AND TARGET ticket)
    file(GLOB documents ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
    add_test(NAME Docs.SamplesAreWhatRuns
        COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check_docs --tool $<TARGET_FILE_DIR:ticket> ${documents})
endif()
