# The inputs that fuzzers started from or stumbled over, in an ordinary build.
if(NOT CONFIGURATIONCONTROL_SANITIZE STREQUAL "thread")
    add_subdirectory(fuzz)
endif()
