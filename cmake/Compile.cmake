# Compiler options for all targets of this project.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

set(CONFIGURATIONCONTROL_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(PROJECT_IS_TOP_LEVEL)  # other projects may use compilers that are not tested here
    list(APPEND CONFIGURATIONCONTROL_WARNINGS -Werror)
endif()

# The rounding helpers are exact only if each operation is rounded separately: no fused multiply-add.
add_compile_options(-ffp-contract=off)

if(CONFIGURATIONCONTROL_FUZZERS)
    if(CONFIGURATIONCONTROL_SANITIZE MATCHES "thread")
        add_compile_options(-fsanitize-coverage=trace-pc)  # counted in tests/fuzz/thread_coverage.cpp
    else()
        set(CONFIGURATIONCONTROL_SANITIZE "fuzzer-no-link,address,undefined")
    endif()
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
if(CONFIGURATIONCONTROL_SANITIZE)
    add_compile_options(-fsanitize=${CONFIGURATIONCONTROL_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CONFIGURATIONCONTROL_SANITIZE})
    if(CONFIGURATIONCONTROL_SANITIZE MATCHES "undefined")
        # UBSan's check of virtual tables opens a pipe, which fails in tests that use up all descriptors.
        add_compile_options(-fno-sanitize-recover=undefined -fno-sanitize=vptr)
    endif()
else()
    add_compile_options(-fstack-protector-strong -fstack-clash-protection)
    add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()
