# The version stands in CMakeLists.txt. Files that other tools read must repeat it.
add_test(NAME Version.IsTheSameInAllFilesThatRepeatIt
    COMMAND sh -c "grep -q '^configurationcontrol ('$0'-' debian/changelog && grep -qx 'version = \"'$0'\"' python/pyproject.toml"
        ${PROJECT_VERSION}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
