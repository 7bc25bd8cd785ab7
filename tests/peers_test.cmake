# The code of QSettings and KConfig that the guide shows beside ours is compiled where they are installed.
find_package(Python3 COMPONENTS Interpreter)
set(peer_sources ${CMAKE_CURRENT_LIST_DIR}/peers/QSettings.cpp ${CMAKE_CURRENT_LIST_DIR}/peers/KConfig.cpp)
if(Python3_FOUND)
    add_test(NAME Peers.CodeOfTheGuideIsCodeThatIsCompiled
        COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/peers/check_table.py
            ${PROJECT_SOURCE_DIR}/docs/store-guide.md ${peer_sources})
endif()

if(NOT CMAKE_CROSSCOMPILING)
    find_package(Qt5Core QUIET)
    find_package(KF5Config QUIET)
endif()
if(Qt5Core_FOUND)
    add_library(peer_qsettings OBJECT peers/QSettings.cpp)
    target_link_libraries(peer_qsettings PRIVATE Qt5::Core)
endif()
if(KF5Config_FOUND)
    add_library(peer_kconfig OBJECT peers/KConfig.cpp)
    target_link_libraries(peer_kconfig PRIVATE KF5::ConfigCore)
endif()
