set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    # Two checkouts share what they compile: paths count from the top, and precompiled headers name no file of ours.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
endif()

if(PRODUCT_STORAGE_SANITIZE)
    add_compile_options(-fsanitize=${PRODUCT_STORAGE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${PRODUCT_STORAGE_SANITIZE})
    set(PRODUCT_STORAGE_NO_UNDEFINED "") # the sanitizer's own symbols come with the program
    if(PRODUCT_STORAGE_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        add_compile_options(-fno-sanitize=vptr) # makes pipes of its own, which tests count
    endif()
    if(PRODUCT_STORAGE_SANITIZE MATCHES "thread")
        # The sanitizer knows no fences. Asio has them for loops that several threads run, which none here is.
        add_compile_definitions(BOOST_ASIO_DISABLE_FENCED_BLOCK)
    endif()
else()
    # What an attacker would build on is closed or ends the process; tests/package/hardening_test looks at the result.
    add_compile_options(-fstack-protector-strong)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        add_compile_options(-fcf-protection=full)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-ftrivial-auto-var-init=zero)
    endif()
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    set(PRODUCT_STORAGE_NO_UNDEFINED -Wl,--no-undefined)
endif()

if(PRODUCT_STORAGE_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "PRODUCT_STORAGE_FUZZ needs clang++, whose libFuzzer the targets are linked with")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Our own code, as opposed to what is generated: every warning counts.
function(product_storage_code target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    if(PRODUCT_STORAGE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # With sanitizers g++ 12 suspects the standard library's own std::regex and std::function.
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    if(PRODUCT_STORAGE_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# What is costly to read and in most of a target's sources is compiled once: headers of other libraries, by "<name>". No
# source relies on it: the clang build does without.
function(product_storage_precompiled target)
    target_precompile_headers(${target} PRIVATE ${ARGN} <algorithm> <chrono> <functional> <map> <memory> <optional> <set>
        <sstream> <stdexcept> <string> <string_view> <vector>)
endfunction()

# Sources that are costly each by what they include, and cheap together: a few are compiled as one, and the symbols that a
# debugger reads name functions and lines, not locals. What their unnamed namespaces hold then bears names that differ. No
# source relies on it: the clang build does without.
option(PRODUCT_STORAGE_UNITY "Compile some sources together, which is faster" ON)
function(product_storage_together target most)
    if(PRODUCT_STORAGE_UNITY)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${most})
        target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-g1>)
    endif()
endfunction()
