# Layouts, virtual tables and exported names against the checked-in dump, where abidiff is installed. Only the everyday build by
# GCC has the debug information that the dump was made from.
find_program(ABIDIFF abidiff)
find_program(ABIDW abidw)
if(ABIDIFF AND ABIDW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo"
   AND NOT CONFIGURATIONCONTROL_SANITIZE)
    set(abi_dump ${CMAKE_CURRENT_SOURCE_DIR}/abi/libConfigurationControl.abi)
    set(abi_headers ${PROJECT_SOURCE_DIR}/include)
    add_test(NAME Abi.LayoutsAndNamesAreThoseOfTheDump
        COMMAND ${ABIDIFF} --headers-dir2 ${abi_headers} --drop-private-types ${abi_dump}
                $<TARGET_FILE:ConfigurationControl>)
    # Makes the dump anew, for a change that was meant: cmake --build --preset dev --target abi_dump
    add_custom_target(abi_dump
        COMMAND ${ABIDW} --headers-dir ${abi_headers} --drop-private-types --no-show-locs --no-corpus-path
                --no-comp-dir-path --out-file ${abi_dump} $<TARGET_FILE:ConfigurationControl>
        DEPENDS ConfigurationControl)
endif()
