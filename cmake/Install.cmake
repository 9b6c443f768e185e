include(CMakePackageConfigHelpers)

# Installed libraries find each other in their own directory, wherever the tree is unpacked.
set_target_properties(TaskInterfaceDB TaskPlatform PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS TaskInterfaceDB TaskPlatform taskdb
        EXPORT TaskInterfaceDBTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb)
# A caller's headers: the interface and its records, the job manager's shared texts and the utilities
# (included as "utilities/Name.h").
install(DIRECTORY interface/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb FILES_MATCHING PATTERN "*.h")
install(FILES LibInterfaceDB/JobManagerConstants.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb)
install(DIRECTORY utilities/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/taskdb/utilities FILES_MATCHING PATTERN "*.h")
install(EXPORT TaskInterfaceDBTargets NAMESPACE taskdb:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
configure_package_config_file(cmake/TaskInterfaceDBConfig.cmake.in
        ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfig.cmake
        INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfigVersion.cmake
        COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDBConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TaskInterfaceDB)
file(RELATIVE_PATH TASKDB_PC_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" TASKDB_PC_UP "${TASKDB_PC_UP}")
configure_file(cmake/TaskInterfaceDB.pc.in ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDB.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TaskInterfaceDB.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
