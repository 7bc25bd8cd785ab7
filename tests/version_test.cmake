# The version stands in CMakeLists.txt. Files that other tools read must repeat it.
add_test(NAME Version.IsTheSameInAllFilesThatRepeatIt
    COMMAND sh -c "head -n 1 debian/changelog | grep -qF 'configurationcontrol ('$0'-' && grep -qx 'version = \"'$0'\"' python/pyproject.toml"
        ${PROJECT_VERSION}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
