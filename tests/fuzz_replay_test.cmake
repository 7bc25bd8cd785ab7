# Replays the fuzzers' seeds and the inputs that once failed, in an ordinary build.
add_subdirectory(fuzz)
