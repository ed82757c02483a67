# What every target of the tree is built with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Programs, libraries and the module lie side by side, as they do on a user's disk:
# the module is found beside the program, the host libraries beside the module.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_BUILD_RPATH "$ORIGIN")

# Options of the C and C++ compilers. The compiler of Windows' resources knows none of them.
macro(qm_add_compile_options)
    add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:${ARGV}>")
endmacro()

if(WIN32)
    # Windows 8.1 is the oldest system whose interfaces the module may take for granted.
    add_compile_definitions(_WIN32_WINNT=0x0603 WINVER=0x0603 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()

if(MSVC)
    include(QmMicrosoftSettings)
    return()
endif()

# A fused multiply-add rounds once where the definitions round twice, and changes pixels.
qm_add_compile_options(-ffp-contract=off)
# Not -Wnon-virtual-dtor: a COM interface has no virtual destructor, by definition of its table, and every class that
# implements one would be reported. A delete that needs one is caught all the same, by -Wdelete-non-virtual-dtor.
qm_add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 14)
    # Optimised, gcc 12 and 13 see overlapping copies inside std::string's operator+ that aren't there (gcc bug 105651).
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
if(QM_WARNINGS_AS_ERRORS)
    qm_add_compile_options(-Werror)
endif()

if(QM_SANITIZE)
    # Less optimised and with line numbers only: compiling takes less than half the time, and reports read the same.
    qm_add_compile_options(-fsanitize=${QM_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -O1 -g1)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # With the sanitizers' checks in between, gcc takes values for unset that are set. The other builds look for it.
        qm_add_compile_options(-Wno-maybe-uninitialized)
    endif()
    add_link_options(-fsanitize=${QM_SANITIZE})
endif()

if(WIN32)
    # Compilers whose C library has the functions of the stack protector come without a library of them.
    include(CheckLibraryExists)
    check_library_exists(ssp __stack_chk_fail "" QM_HAS_SSP_LIBRARY)
    # The compiler's own libraries are linked in, or each would be a file beside every program. They come after all
    # objects that ask for them, in the order in which they need each other: the compiler would find the others' files
    # for itself. Not as a whole: winpthread's archive has a version resource, and a file has only one.
    add_link_options(-static-libgcc -static-libstdc++)
    set(libraries "-lstdc++ -lgcc_eh -lwinpthread")
    if(QM_HAS_SSP_LIBRARY)
        string(APPEND libraries " -lssp")
    endif()
    foreach(language C CXX)
        string(APPEND CMAKE_${language}_STANDARD_LIBRARIES " -Wl,-Bstatic ${libraries} -Wl,-Bdynamic")
    endforeach()
    # Addresses from the whole 64 bits, and no code where data is. The linker has both as defaults.
    add_link_options(LINKER:--dynamicbase,--high-entropy-va,--nxcompat)
else()
    find_package(Threads REQUIRED)
    # Every address is looked up at the start, and the tables of addresses are read-only after it.
    add_link_options(LINKER:-z,relro,-z,now)
endif()

# For the module's directory: overruns of stack buffers and of objects whose size the compiler knows end the program. The
# sanitizers have checks of their own.
macro(qm_harden_directory)
    if(NOT QM_SANITIZE)
        qm_add_compile_options(-fstack-protector-strong)
        # It takes an optimising compiler.
        add_compile_definitions($<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
    endif()
endmacro()
