# The Python module, on the shared library of this build. A sanitizer's run time would have to be loaded before Python.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND AND NOT CONFIGURATIONCONTROL_SANITIZE)
    add_test(NAME Python.ModuleDoesWhatItsTestsSay
        COMMAND ${Python3_EXECUTABLE} -m unittest discover -s ${CMAKE_CURRENT_LIST_DIR}/python -p "*_test.py")
    set_tests_properties(Python.ModuleDoesWhatItsTestsSay PROPERTIES ENVIRONMENT
        "LD_LIBRARY_PATH=$<TARGET_FILE_DIR:ConfigurationControl>;PYTHONPATH=${PROJECT_SOURCE_DIR}/python;PYTHONDONTWRITEBYTECODE=1")
endif()

# Users of the module check their calls against its annotations, so these must be right.
find_program(MYPY mypy)
if(MYPY)
    add_test(NAME Python.AnnotationsSatisfyMypy
        COMMAND ${MYPY} --strict --cache-dir ${CMAKE_CURRENT_BINARY_DIR}/mypy_cache ${PROJECT_SOURCE_DIR}/python/configurationcontrol)
endif()
