# What an outside project finds after `cmake --install`: the library with its headers, a CMake package and pkg-config
# files; fectl with its man page; the stand-ins, for development machines.
include(CMakePackageConfigHelpers)

set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc)

# As the man page and Debian's changelog are installed: without a time, for the same bytes from each build.
find_program(GZIP gzip REQUIRED)
function(fe_compress source output)
    add_custom_command(OUTPUT ${output} DEPENDS ${source} VERBATIM
        COMMAND ${GZIP} --best --no-name --stdout ${source} > ${PROJECT_BINARY_DIR}/${output}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    add_custom_target(${output}.target ALL DEPENDS ${PROJECT_BINARY_DIR}/${output})
endfunction()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/fault_engine)

install(TARGETS fault_engine EXPORT fault_engine-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/fault_engine DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES platform/entity_filter/entity_filter.h platform/fe_core/fe_core.h platform/ipmi_access/ipmi_access.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/fault_engine/platform COMPONENT development)
install(DIRECTORY docs/ DESTINATION ${doc_dir}/libfault-engine-dev COMPONENT development)
install(DIRECTORY examples/daemon DESTINATION ${doc_dir}/libfault-engine-dev/examples
    COMPONENT development)
install(EXPORT fault_engine-targets NAMESPACE fault_engine:: DESTINATION ${package_dir} COMPONENT development)

if(FE_TOOLS)
    install(TARGETS fe_core entity_filter ipmi_access EXPORT fault_engine-stand-ins
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/fault_engine COMPONENT tools)
    install(EXPORT fault_engine-stand-ins NAMESPACE fault_engine:: DESTINATION ${package_dir} COMPONENT tools)
    set_target_properties(fectl PROPERTIES
        INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN/../${CMAKE_INSTALL_LIBDIR}/fault_engine")
    install(TARGETS fectl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES packaging/completion/fectl DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tools)
    fe_compress(packaging/man/fectl.1 fectl.1.gz)
    install(FILES ${PROJECT_BINARY_DIR}/fectl.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(DIRECTORY examples/captures DESTINATION ${doc_dir}/fault-engine-tools/examples COMPONENT tools)
endif()

configure_package_config_file(packaging/fault_engine-config.cmake.in fault_engine-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(fault_engine-config-version.cmake COMPATIBILITY SameMinorVersion)
# Made when installed, since that may choose another prefix.
install(CODE "
    set(PROJECT_DESCRIPTION [[${PROJECT_DESCRIPTION}]])
    set(PROJECT_VERSION ${PROJECT_VERSION})
    set(CMAKE_INSTALL_LIBDIR ${CMAKE_INSTALL_LIBDIR})
    set(CMAKE_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
    configure_file([[${PROJECT_SOURCE_DIR}/packaging/fault_engine.pc.in]] [[${PROJECT_BINARY_DIR}/fault_engine.pc]] @ONLY)"
    COMPONENT development)
install(FILES
    ${PROJECT_BINARY_DIR}/fault_engine-config.cmake
    ${PROJECT_BINARY_DIR}/fault_engine-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/fault_engine.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# cpack -G DEB: one package of the library, one for those who compile against it, one of the tools. The folders are those of
# the build, so it is configured for the prefix /usr, which on Debian brings the folder of the architecture.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fault-engine)
set(CPACK_PACKAGE_VENDOR "Fault Engine Team")
set(CPACK_PACKAGE_CONTACT "Fault Engine Team <team@fault-engine.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING) # without the target's package database, which tells what the library and libstdc++ need
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.34)")
    set(cross_depends ", libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 12)")
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libfault-engine0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Not CPack's own shlibs file: that comes with scripts that call ldconfig, which the trigger does.
configure_file(packaging/debian/shlibs.in shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/triggers ${PROJECT_BINARY_DIR}/shlibs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library. The process that loads it brings the core library,
the entity filter and the access to sensors and SEL.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libfault-engine-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libfault-engine0 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers of the library and of its neighbours, CMake package,
pkg-config file, documents and an example daemon.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME fault-engine-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libfault-engine0 (= ${PROJECT_VERSION})${cross_depends}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Program fectl, which replays captures of the SEL and runs the
engine live beside stand-ins of its neighbours.")

configure_file(packaging/debian/changelog.in debian_changelog @ONLY)
fe_compress(${PROJECT_BINARY_DIR}/debian_changelog changelog.gz)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} name)
    install(FILES ${PROJECT_BINARY_DIR}/changelog.gz packaging/debian/copyright
        DESTINATION ${doc_dir}/${CPACK_DEBIAN_${name}_PACKAGE_NAME} COMPONENT ${component})
endforeach()
include(CPack)
