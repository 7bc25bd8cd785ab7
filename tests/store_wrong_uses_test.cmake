# The compiler rejects types that the typed store cannot keep, with a message that a developer understands.
add_test(NAME StoreWrongUses.AreExplainedByTheCompiler
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/support/says_why_not ${PROJECT_SOURCE_DIR}/include ${CMAKE_CXX_COMPILER}
        ${CMAKE_CURRENT_LIST_DIR}/store_wrong_uses.cpp)
