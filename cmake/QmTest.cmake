# qm_add_test(NAME SOURCES file... LIBS target... [NEEDS_MEDIA_FOUNDATION] [TIMEOUT seconds])
#
# One GoogleTest program. Natively every test case is a ctest entry of its own. In the Windows build the whole
# program is one entry, since a start under Wine costs a second, and a program that needs Media Foundation is built
# but not run: Wine's is not the system's.
if(WIN32)
    set(QM_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources, for builds without a packaged one")
    set(INSTALL_GTEST OFF CACHE INTERNAL "")
    add_subdirectory(${QM_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    foreach(library gtest gtest_main gmock gmock_main)
        set_target_properties(${library} PROPERTIES COMPILE_OPTIONS "-w")
    endforeach()
else()
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()

function(qm_add_test name)
    cmake_parse_arguments(ARG "NEEDS_MEDIA_FOUNDATION" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gmock_main GTest::gtest)
    if(NOT WIN32)
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
            TEST_PREFIX "${name}." PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    elseif(NOT ARG_NEEDS_MEDIA_FOUNDATION)
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 600)
    endif()
endfunction()
