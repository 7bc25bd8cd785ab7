# Layouts, virtual tables and exported names against the checked-in dump, where abidiff is installed. Only the preset "dev" with GCC
# has debug information like that of the dump.
find_program(ABIDIFF abidiff)
find_program(ABIDW abidw)
if(ABIDIFF AND ABIDW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo"
   AND NOT CONFIGURATIONCONTROL_SANITIZE)
    set(abi_dump ${CMAKE_CURRENT_SOURCE_DIR}/abi/libConfigurationControl.abi)
    # No --headers-dir: the dump contains no file names, so abidiff would treat all of its types as private.
    add_test(NAME Abi.LayoutsAndNamesAreThoseOfTheDump
        COMMAND ${ABIDIFF} ${abi_dump} $<TARGET_FILE:ConfigurationControl>)
    # Bit 8 of abidiff's exit status: incompatible change, hosts have to be rebuilt.
    add_test(NAME Abi.OperationAtAnotherPlaceIsFound
        COMMAND sh -c "sed \"s/vtable-offset='70'/vtable-offset='71'/\" \"$1\" >changed.abi
                       \"$0\" changed.abi \"$2\" >changed.txt; test $(($? & 8)) -ne 0"
                ${ABIDIFF} ${abi_dump} $<TARGET_FILE:ConfigurationControl>)
    # Regenerates the dump after an intended change: cmake --build --preset dev --target abi_dump
    add_custom_target(abi_dump
        COMMAND ${ABIDW} --exported-interfaces-only --headers-dir ${PROJECT_SOURCE_DIR}/include --drop-private-types
                --no-show-locs --no-corpus-path --no-comp-dir-path --out-file ${abi_dump} $<TARGET_FILE:ConfigurationControl>
        DEPENDS ConfigurationControl)
endif()
