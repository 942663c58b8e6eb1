# Libraries that fectl stands on, of Debian's packages. Two are headers alone. A cross compiler must not see the rest of
# /usr/include, so each gets a folder in which it stands alone.
function(fe_header_library name header_folder package)
    find_path(FE_${name}_HEADERS ${header_folder} PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH)
    if(NOT FE_${name}_HEADERS)
        message(FATAL_ERROR "fectl needs the headers of ${name} (Debian's package ${package}); -DFE_TOOLS=OFF leaves it out")
    endif()
    set(folder ${PROJECT_BINARY_DIR}/headers/${name})
    file(MAKE_DIRECTORY ${folder})
    file(CREATE_LINK ${FE_${name}_HEADERS}/${header_folder} ${folder}/${header_folder} SYMBOLIC)
    add_library(fe_${name} INTERFACE)
    target_include_directories(fe_${name} SYSTEM INTERFACE ${folder})
endfunction()

fe_header_library(cli11 CLI libcli11-dev)
fe_header_library(json nlohmann nlohmann-json3-dev)

# Captures may be packed; without these, such ones are refused.
find_package(ZLIB)
find_package(LibLZMA)
add_library(fe_unpack INTERFACE)
if(ZLIB_FOUND)
    target_compile_definitions(fe_unpack INTERFACE FE_ZLIB)
    target_link_libraries(fe_unpack INTERFACE ZLIB::ZLIB)
endif()
if(LIBLZMA_FOUND)
    target_compile_definitions(fe_unpack INTERFACE FE_LZMA)
    target_link_libraries(fe_unpack INTERFACE LibLZMA::LibLZMA)
endif()
