# What `cmake --install` lays down, the CMake package and the pkg-config file. debian/ makes Debian's packages of it.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(headerDir ${CMAKE_INSTALL_INCLUDEDIR}/ProductStorage)
set(cmakeDir ${CMAKE_INSTALL_LIBDIR}/cmake/ProductStorage)

set(installedTargets ProductStorage ProductMessages)
if(TARGET ProductFramework)
    list(APPEND installedTargets ProductFramework)
endif()
install(TARGETS ${installedTargets} EXPORT ProductStorageTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
set_target_properties(ProductStorage PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET ProductFramework)
    set_target_properties(ProductFramework PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(PRODUCT_STORAGE_PROGRAMS)
    install(TARGETS zavctl zavsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(PROGRAMS ${PROJECT_SOURCE_DIR}/standin/zavsim-target DESTINATION ${CMAKE_INSTALL_BINDIR})
    # Apart from all other programs, so that a configuration can name its folder.
    install(TARGETS zavsim_iscsiadm RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/product-storage/standin)
    file(RELATIVE_PATH fromBinToLib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(zavctl PROPERTIES INSTALL_RPATH "$ORIGIN/${fromBinToLib}")
endif()

# Public headers, under the names by which they are included.
set(publicHeaders
    common/device_keys.h
    common/disk_descriptor_manager.h
    common/export.h
    common/records.h
    common/result_codes.h
    common/task_constants.h
    common/framework/cert.h
    common/framework/config_reader.h
    common/framework/export.h
    common/framework/http_client.h
    common/framework/log_proxy.h
    common/framework/product_root.h
    common/framework/random_bytes.h
    common/framework/san_manager.h
    common/framework/security.h
    common/framework/shell_runner.h
    device/delete_resource.h
    device/device_operate.h
    device/device_set_operator.h
    disklib/message_loop.h
    disklib/qen_thread.h
    disklib/zav_storage_disk_lib.h
    rest/inventory_records.h
    rest/nimb_rest_api.h
    rest/zav_rest_api.h)
foreach(header ${publicHeaders})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${headerDir}/${folder})
endforeach()
install(FILES
    ${PROJECT_SOURCE_DIR}/common/framework/product_messages.proto
    ${PROJECT_BINARY_DIR}/generated/common/framework/product_messages.pb.h
    DESTINATION ${headerDir}/common/framework)
install(FILES ${PROJECT_SOURCE_DIR}/conf/backupnode.ini DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT ProductStorageTargets NAMESPACE ProductStorage:: DESTINATION ${cmakeDir})
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/ProductStorageConfig.cmake.in ${PROJECT_BINARY_DIR}/packaging/ProductStorageConfig.cmake
    INSTALL_DESTINATION ${cmakeDir})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/packaging/ProductStorageConfigVersion.cmake COMPATIBILITY SameMajorVersion)
# Where the file lies says where the package lies, so that it may be installed, or packed, anywhere.
file(RELATIVE_PATH fromPkgConfigToPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(
    ${CMAKE_CURRENT_LIST_DIR}/ProductStorage.pc.in ${PROJECT_BINARY_DIR}/packaging/ProductStorage.pc @ONLY)
install(FILES
    ${PROJECT_BINARY_DIR}/packaging/ProductStorageConfig.cmake
    ${PROJECT_BINARY_DIR}/packaging/ProductStorageConfigVersion.cmake
    DESTINATION ${cmakeDir})
install(FILES ${PROJECT_BINARY_DIR}/packaging/ProductStorage.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
