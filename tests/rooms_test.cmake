# Private includes point only from a room to those below it. A second test shows that the check finds a violation.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
    set(check_rooms ${CMAKE_CURRENT_LIST_DIR}/support/check_rooms)
    add_test(NAME Rooms.IncludesPointToLowerRoomsOnly
        COMMAND ${Python3_EXECUTABLE} ${check_rooms} ${PROJECT_SOURCE_DIR})
    add_test(NAME Rooms.AnIncludeThatPointsUpIsFound
        COMMAND sh -c "rm -rf rooms && mkdir rooms && cp -r \"$1/Main\" \"$1/Common\" \"$1/src\" \"$1/tool\" rooms &&
                       echo '#include \"TicketImpSNode.h\"' >>rooms/Main/Ticket/Src/Store/KeyHash.h &&
                       ! \"$0\" rooms >rooms/out.txt && grep -q 'KeyHash.h includes .*TicketImpSNode.h' rooms/out.txt"
            ${check_rooms} ${PROJECT_SOURCE_DIR})
endif()
