# The inputs that fuzzers started from or stumbled over, in an ordinary build.
add_subdirectory(fuzz)
