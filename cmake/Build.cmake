# What every target of ours is built with: language levels, warnings, sanitizers, no path of the build machine; what is
# shipped is hardened besides.

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

# The same bytes from any source and build folder. Sources are named relative to a build folder that lies among them. Of
# two maps that fit, the last one counts.
file(RELATIVE_PATH sources_from_build ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
set(FE_PREFIX_MAPS -ffile-prefix-map=${sources_from_build}= -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
    -ffile-prefix-map=${CMAKE_BINARY_DIR}=.)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

function(fe_target target)
    target_compile_definitions(${target} PRIVATE _GNU_SOURCE)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wformat=2 -Wundef -Wcast-align -Wcast-qual
        -Wdouble-promotion -Wvla -Wmissing-declarations
        $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow> # where files see each other's own names, it has nothing to say
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
        $<$<BOOL:${FE_WERROR}>:-Werror>
        ${FE_PREFIX_MAPS})
    # A FIFO may carry times past 2038, which fstat() refuses to tell in 32 bits. All targets alike, since some define
    # libc's functions, whose symbols these two choose.
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        target_compile_definitions(${target} PRIVATE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
    endif()
    if(FE_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${FE_SANITIZE} -fno-omit-frame-pointer)
        if(NOT FE_SANITIZE STREQUAL "thread")
            target_compile_options(${target} PRIVATE -fno-sanitize-recover=all)
        endif()
        target_link_options(${target} PRIVATE -fsanitize=${FE_SANITIZE})
    endif()
endfunction()

# What distributions build with. Debug builds go without, since _FORTIFY_SOURCE needs an optimiser, and so do sanitized
# ones, which check the same themselves.
function(fe_harden target)
    if(FE_SANITIZE OR FE_FUZZ)
        return()
    endif()
    check_cxx_compiler_flag("-Werror -fstack-clash-protection" FE_HAS_STACK_CLASH_PROTECTION)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-fstack-protector-strong
        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 $<$<BOOL:${FE_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>>)
    target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now)
endfunction()

# The tool, for whose templates the optimiser takes longer than it runs in a check. Its stack traces have lines.
function(fe_tool_target target)
    fe_target(${target})
    fe_harden(${target})
    if(FE_QUICK)
        target_compile_options(${target} PRIVATE -O0)
    elseif(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
        target_compile_options(${target} PRIVATE -g1)
    endif()
endfunction()

# What is not shipped; debuggers of it have the preset dev, which also shows a header that a file forgot.
function(fe_test_target target)
    fe_target(${target})
    if(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
        target_compile_options(${target} PRIVATE -O1 -g1)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
    endif()
endfunction()
