# Each public header is complete in itself and free of warnings, whatever compiler and standard a host uses. The
# sanitizers add nothing to that.
if(CONFIGURATIONCONTROL_SANITIZE)
    return()
endif()

set(include ${PROJECT_SOURCE_DIR}/include)
file(GLOB_RECURSE all_headers CONFIGURE_DEPENDS RELATIVE ${include} ${include}/*.h)
set(c_headers Export MultiParListC TicketRecords Version)
list(TRANSFORM c_headers REPLACE "(.+)" "ConfigurationControl/\\1.h")

function(add_header_test language standard compiler)
    find_program(HEADER_COMPILER_${compiler} ${compiler})
    if(HEADER_COMPILER_${compiler})
        add_test(NAME PublicHeaders.CompileAlone/${standard}/${compiler}
            COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/compile_alone ${include} ${HEADER_COMPILER_${compiler}}
                ${language} ${standard} ${ARGN})
    endif()
endfunction()

foreach(compiler g++ clang++)
    foreach(standard c++17 c++20)
        add_header_test(c++ ${standard} ${compiler} ${all_headers})
    endforeach()
endforeach()
foreach(compiler gcc clang)
    add_header_test(c c11 ${compiler} ${c_headers})
endforeach()
