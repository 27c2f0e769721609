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
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
endif()

if(PRODUCT_STORAGE_SANITIZE)
    add_compile_options(-fsanitize=${PRODUCT_STORAGE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${PRODUCT_STORAGE_SANITIZE})
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
