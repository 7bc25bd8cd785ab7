# Each public header compiles on its own and without warnings, in every language standard that a host may use. The preset
# "asan" adds the check by the second compiler.
if(CONFIGURATIONCONTROL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
endif()

set(include ${PROJECT_SOURCE_DIR}/include)
file(GLOB_RECURSE all_headers CONFIGURE_DEPENDS RELATIVE ${include} ${include}/*.h)
set(c_headers Export MultiParListC TicketRecords TicketServices Version)
list(TRANSFORM c_headers REPLACE "(.+)" "ConfigurationControl/\\1.h")

foreach(standard c++17 c++20)
    add_test(NAME PublicHeaders.CompileAlone/${standard}
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compile_alone ${include} ${CMAKE_CXX_COMPILER} c++ ${standard}
            ${all_headers})
endforeach()
add_test(NAME PublicHeaders.CompileAlone/c11
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compile_alone ${include} ${CMAKE_C_COMPILER} c c11 ${c_headers})

# A program in C, or in C++ before C++17, is told what it needs instead.
foreach(language "c;c11;${CMAKE_C_COMPILER}" "c++;c++14;${CMAKE_CXX_COMPILER}")
    list(GET language 0 name)
    list(GET language 1 standard)
    list(GET language 2 compiler)
    foreach(header Store Store/Schema Store/FileWatch)
        add_test(NAME PublicHeaders.OfTheTypedLayerTellThatTheyNeedCxx17/${standard}/${header}
            COMMAND ${compiler} -x ${name} -std=${standard} -fsyntax-only -I ${include}
                ${include}/ConfigurationControl/${header}.h)
        set_tests_properties(PublicHeaders.OfTheTypedLayerTellThatTheyNeedCxx17/${standard}/${header} PROPERTIES
            PASS_REGULAR_EXPRESSION "${header}.h needs C..17; in C, include TicketRecords.h")
    endforeach()
endforeach()

# A program in C is told so by the headers for C++, too.
set(cxx_headers ${all_headers})
list(FILTER cxx_headers EXCLUDE REGEX "/Store")
list(REMOVE_ITEM cxx_headers ${c_headers})
foreach(header ${cxx_headers})
    add_test(NAME PublicHeaders.ForCxxNameThoseForC/${header}
        COMMAND ${CMAKE_C_COMPILER} -x c -std=c11 -fsyntax-only -I ${include} ${include}/${header})
    set_tests_properties(PublicHeaders.ForCxxNameThoseForC/${header} PROPERTIES
        PASS_REGULAR_EXPRESSION "this header needs C..; in C, include TicketRecords.h")
endforeach()
