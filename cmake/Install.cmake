# What an outside project finds after `cmake --install`: the library with its headers, a CMake package and pkg-config
# files; fectl with its man page; the stand-ins, for development machines.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/fault_engine)

install(TARGETS fault_engine EXPORT fault_engine-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/fault_engine DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT fault_engine-targets NAMESPACE fault_engine:: DESTINATION ${package_dir} COMPONENT development)

if(FE_TOOLS)
    install(TARGETS fe_core entity_filter ipmi_access EXPORT fault_engine-stand-ins
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/fault_engine COMPONENT tools)
    install(EXPORT fault_engine-stand-ins NAMESPACE fault_engine:: DESTINATION ${package_dir} COMPONENT tools)
    set_target_properties(fectl PROPERTIES
        INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN/../${CMAKE_INSTALL_LIBDIR}/fault_engine")
    install(TARGETS fectl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES packaging/man/fectl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(DIRECTORY examples/captures DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT tools)
endif()

configure_package_config_file(packaging/fault_engine-config.cmake.in fault_engine-config.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(fault_engine-config-version.cmake COMPATIBILITY SameMinorVersion)
# Relative to the .pc file, so that the tree can be moved.
file(RELATIVE_PATH pc_includedir /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_INCLUDEDIR})
string(PREPEND pc_includedir "\${pcfiledir}/")
configure_file(packaging/fault_engine.pc.in fault_engine.pc @ONLY)
install(FILES
    ${PROJECT_BINARY_DIR}/fault_engine-config.cmake
    ${PROJECT_BINARY_DIR}/fault_engine-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/fault_engine.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# cpack -G DEB: one package of the library, one for those who compile against it, one of the tools.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fault-engine)
set(CPACK_PACKAGE_VENDOR "Fault Engine Team")
set(CPACK_PACKAGE_CONTACT "Fault Engine Team <team@fault-engine.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF) # the neighbours' symbols are undefined on purpose
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libfault-engine0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS libc6)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libfault-engine-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libfault-engine0 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME fault-engine-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libfault-engine0 (= ${PROJECT_VERSION}), libc6, libstdc++6")
include(CPack)
