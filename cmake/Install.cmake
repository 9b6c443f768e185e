include(CMakePackageConfigHelpers)

install(TARGETS TaskInterfaceDB TaskPlatform taskdb
        EXPORT TaskInterfaceDBTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb)
install(DIRECTORY interface/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb FILES_MATCHING PATTERN "*.h")
install(EXPORT TaskInterfaceDBTargets NAMESPACE taskdb:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
configure_package_config_file(cmake/TaskInterfaceDBConfig.cmake.in
        ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfig.cmake
        INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
