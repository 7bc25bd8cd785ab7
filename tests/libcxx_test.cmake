# A host that uses the standard library of LLVM: the layer compiles with it, and the example runs on the library, which
# was built with another one.
find_program(CLANGXX clang++)
mark_as_advanced(CLANGXX)
set(libcxx_command ${CLANGXX} -std=c++17 -stdlib=libc++)
if(CLANGXX AND NOT CONFIGURATIONCONTROL_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/libcxx.cpp "#include <string>\nint main() {}\n")
    execute_process(COMMAND ${libcxx_command} ${CMAKE_CURRENT_BINARY_DIR}/libcxx.cpp -o ${CMAKE_CURRENT_BINARY_DIR}/libcxx
        RESULT_VARIABLE libcxx_missing OUTPUT_QUIET ERROR_QUIET)
    if(libcxx_missing EQUAL 0)
        set(program ${CMAKE_CURRENT_BINARY_DIR}/store_with_libcxx)
        add_test(NAME Libcxx.CompilesTheExampleOfTheStore
            COMMAND ${libcxx_command} ${CONFIGURATIONCONTROL_WARNINGS} -I${PROJECT_SOURCE_DIR}/include
                ${PROJECT_SOURCE_DIR}/examples/store.cpp -o ${program} $<TARGET_FILE:ConfigurationControl>
                -Wl,-rpath,$<TARGET_FILE_DIR:ConfigurationControl>)
        set_tests_properties(Libcxx.CompilesTheExampleOfTheStore PROPERTIES FIXTURES_SETUP store_with_libcxx)
        add_test(NAME Libcxx.RunsTheExampleOfTheStore
            COMMAND ${CMAKE_COMMAND} -DPROGRAM=${program} -DGOLDEN=${CMAKE_CURRENT_SOURCE_DIR}/golden/store.txt
                -DDIRECTORY=${program}.directory -P ${CMAKE_CURRENT_SOURCE_DIR}/support/CompareOutput.cmake)
        set_tests_properties(Libcxx.RunsTheExampleOfTheStore PROPERTIES FIXTURES_REQUIRED store_with_libcxx)
    endif()
endif()
