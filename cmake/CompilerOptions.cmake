# Warnings and sanitizers for every target of the project, through one interface library.
add_library(tolvane_options INTERFACE)
target_compile_options(tolvane_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                 -Wnon-virtual-dtor -Wold-style-cast)
if(TOLVANE_WERROR)
    target_compile_options(tolvane_options INTERFACE -Werror)
endif()
target_compile_definitions(tolvane_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
                                                     QT_NO_URL_CAST_FROM_STRING)
if(TOLVANE_SANITIZE AND NOT TOLVANE_BUILD_FUZZERS)
    target_compile_options(tolvane_options INTERFACE -fsanitize=address,undefined
                                                     -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(tolvane_options INTERFACE -fsanitize=address,undefined)
endif()

# Fuzzing: every library is instrumented for coverage and checked by the sanitizers; only the
# fuzz targets link the libFuzzer driver (fuzz/CMakeLists.txt). The tests of such a build run
# under the same sanitizers, so one build serves the sanitizer run and the fuzzers.
if(TOLVANE_BUILD_FUZZERS)
    # Clang 14 has no std::source_location with Debian's libstdc++.
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15)
        message(FATAL_ERROR
            "TOLVANE_BUILD_FUZZERS needs clang 15 or later (-DCMAKE_CXX_COMPILER=clang++-16)")
    endif()
    target_compile_options(tolvane_options INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
        -fno-sanitize-recover=undefined)
    target_link_options(tolvane_options INTERFACE -fsanitize=address,undefined)
endif()
