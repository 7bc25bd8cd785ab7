# Checks the documentation: every code sample is part of a program that the tests run, and every session of the tool is
# run and its output compared.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND AND TARGET ticket)
    file(GLOB documents ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
    add_test(NAME Docs.SamplesAreWhatRuns
        COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/check_docs --tool $<TARGET_FILE_DIR:ticket> ${documents})
endif()

# The site's own parts, and the site as the build has made it. The build fails by itself at a declaration without a docstring.
if(Python3_FOUND)
    add_test(NAME Docs.TheSiteIsMadeAsItsPartsPromise
        COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/site/site_test.py)
    if(TARGET site)
        add_test(NAME Docs.EveryLinkOfTheSiteLeadsSomewhere
            COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/docs/site/links.py ${PROJECT_BINARY_DIR}/site/html)
        add_test(NAME Docs.TheSiteHasAnIndexForItsSearchAndDarkColours
            COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/site/pages_test.py ${PROJECT_BINARY_DIR}/site/html)
        # Needs Chromium, which is too large to be installed for the tests alone.
        add_test(NAME Docs.TheSiteWorksInABrowser
            COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/site/browser_test.py ${PROJECT_BINARY_DIR}/site/html)
        set_tests_properties(Docs.TheSiteWorksInABrowser PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600)
    endif()
endif()
