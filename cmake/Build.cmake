# What every target of ours is built with: language levels, warnings, sanitizers, no path of the build machine.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()

function(fe_target target)
    target_compile_definitions(${target} PRIVATE _GNU_SOURCE)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef -Wcast-align -Wcast-qual
        -Wdouble-promotion -Wvla -Wmissing-declarations
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
        $<$<BOOL:${FE_WERROR}>:-Werror>
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
    if(FE_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${FE_SANITIZE} -fno-omit-frame-pointer)
        if(NOT FE_SANITIZE STREQUAL "thread")
            target_compile_options(${target} PRIVATE -fno-sanitize-recover=all)
        endif()
        target_link_options(${target} PRIVATE -fsanitize=${FE_SANITIZE})
    endif()
endfunction()
