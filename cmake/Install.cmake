# `cmake --install` puts the library, its headers and a package file in place, so that
# find_package(certstore) gives the same target certstore::certstore as add_subdirectory.
include(CMakePackageConfigHelpers)

install(TARGETS certstore EXPORT certstoreTargets)
install(EXPORT certstoreTargets NAMESPACE certstore::
        FILE certstoreConfig.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/certstore)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/certstoreConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/certstoreConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/certstore)
install(DIRECTORY certstore support DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/certstore
        FILES_MATCHING PATTERN "*.h")
