# qm_add_test(NAME SOURCES file... LIBS target... [ONE_THREAD] [TIMEOUT seconds] [SHARDS count])
#
# One GoogleTest program, linked with the helpers that every test has (test_tools). Usually every test case is a ctest
# entry of its own. With QM_WHOLE_TEST_PROGRAMS the whole program is one entry: a start costs a tenth of a second of
# processor time under a sanitizer and a second under Wine, for each of some thousand cases. A program of many minutes,
# whose cases share what takes long to make, is as many entries as SHARDS says in every preset, each with its share of
# the cases. A program that is known to have ONE_THREAD isn't run under the thread sanitizer, which has nothing to look
# for in it. In the Windows build, which runs under Wine, the cases in tests/wine_gaps.txt are left out, and an entry
# left_out.NAME fails when one of them passes.
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

# Compiling the tests takes most of a build's time, and less of it the less they are optimised and checked themselves. The
# code under test has both in any case.
function(qm_set_test_options name)
    target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:${QM_TEST_OPTIMIZATION}>)
    if(QM_SANITIZE MATCHES "undefined")
        target_compile_options(${name} PRIVATE -fno-sanitize=undefined)
    endif()
endfunction()

# qm_skip_thread_sanitizer(file...)
#
# For sources of helpers that go through whole files and pictures byte by byte, on one thread and in memory of their own.
# There is nothing in them for the thread sanitizer, and they took more than half of the tests' time under it.
function(qm_skip_thread_sanitizer)
    if(QM_SANITIZE STREQUAL "thread")
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -fno-sanitize=thread)
    endif()
endfunction()

# The framework's header is parsed once for all programs: parsing it takes a third of a small test's compile time. Not
# where tests are optimised, since gcc reports the standard library's own code then that it reads from such a file. Not
# with clang, whose file differs each time it is made, so that the compiler cache would have nothing that reads it.
if(QM_TEST_OPTIMIZATION STREQUAL "-O0" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    file(WRITE ${CMAKE_BINARY_DIR}/test_header.cpp "")
    add_executable(test_header EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/test_header.cpp)
    target_link_libraries(test_header PRIVATE GTest::gtest GTest::gmock_main)
    target_precompile_headers(test_header PRIVATE <gtest/gtest.h>)
    qm_set_test_options(test_header)
endif()

# The cases of a program that tests/wine_gaps.txt leaves out, as a pattern of GoogleTest's.
function(qm_left_out_under_wine name result)
    set(list ${PROJECT_SOURCE_DIR}/tests/wine_gaps.txt)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
    file(STRINGS ${list} lines REGEX "^${name} ")
    list(TRANSFORM lines REPLACE "^[^ ]+ +([^ ]+) .*" "\\1")
    list(JOIN lines ":" pattern)
    set(${result} "${pattern}" PARENT_SCOPE)
endfunction()

function(qm_add_test name)
    cmake_parse_arguments(ARG "ONE_THREAD" "TIMEOUT;SHARDS" "SOURCES;LIBS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} test_tools GTest::gmock GTest::gmock_main GTest::gtest)
    if(TARGET test_header)
        target_precompile_headers(${name} REUSE_FROM test_header)
    endif()
    qm_set_test_options(${name})
    set(left_out "")
    if(WIN32)
        qm_left_out_under_wine(${name} left_out)
    endif()
    if(left_out)
        add_test(NAME left_out.${name}
            COMMAND bash ${PROJECT_SOURCE_DIR}/tests/windows_bridge/check-left-out $<TARGET_FILE:${name}>)
        set_tests_properties(left_out.${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    endif()
    if(ARG_ONE_THREAD AND QM_SANITIZE STREQUAL "thread")
        return()
    endif()
    if(QM_WHOLE_TEST_PROGRAMS OR ARG_SHARDS)
        if(NOT ARG_SHARDS)
            set(ARG_SHARDS 1)
        endif()
        # A program runs for two and a half minutes at most under Wine, on a quiet machine.
        set(limit 1200)
        if(WIN32)
            set(limit 500)
        endif()
        math(EXPR last "${ARG_SHARDS} - 1")
        foreach(shard RANGE ${last})
            set(test ${name})
            if(last)
                string(APPEND test ".${shard}")
            endif()
            add_test(NAME ${test} COMMAND ${name})
            # The programs that may take longest start first, so that none of them is left alone at the end.
            set_tests_properties(${test} PROPERTIES TIMEOUT ${limit} COST ${ARG_TIMEOUT}
                ENVIRONMENT "GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${shard}")
            if(left_out)
                set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT "GTEST_FILTER=-${left_out}")
            endif()
        endforeach()
    else()
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
            TEST_PREFIX "${name}." PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    endif()
endfunction()
