# libTaskInterfaceDB.so: the factory, the operations, the column values and bindings, the utilities.
file(GLOB TASKDB_SOURCES CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/LibInterfaceDB/*.cpp
    ${PROJECT_SOURCE_DIR}/TaskInterfaceDB/*.cpp
    ${PROJECT_SOURCE_DIR}/db/*.cpp
    ${PROJECT_SOURCE_DIR}/utilities/*.cpp)

add_library(TaskInterfaceDB_objects OBJECT ${TASKDB_SOURCES})
add_dependencies(TaskInterfaceDB_objects taskdb_bindings)
target_include_directories(TaskInterfaceDB_objects PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/interface>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<BUILD_INTERFACE:${TASKDB_GENERATED_INCLUDE}>)
target_link_libraries(TaskInterfaceDB_objects PUBLIC TaskPlatform_objects pugixml::pugixml)
taskdb_warnings(TaskInterfaceDB_objects)

add_library(TaskInterfaceDB SHARED $<TARGET_OBJECTS:TaskInterfaceDB_objects>)
target_include_directories(TaskInterfaceDB INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/interface>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/taskdb>)
target_link_libraries(TaskInterfaceDB PRIVATE TaskPlatform pugixml::pugixml)
# Only the names in the version script are exported, and the library's references to its own
# symbols bind inside it (-Bsymbolic): a second copy loaded into the same process keeps its own state.
set(TASKDB_VERSION_SCRIPT ${PROJECT_SOURCE_DIR}/cmake/TaskInterfaceDB.map)
target_link_options(TaskInterfaceDB PRIVATE -Wl,--no-undefined -Wl,-Bsymbolic
    -Wl,--version-script=${TASKDB_VERSION_SCRIPT})
set_property(TARGET TaskInterfaceDB APPEND PROPERTY LINK_DEPENDS ${TASKDB_VERSION_SCRIPT})
set_target_properties(TaskInterfaceDB PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

add_library(TaskInterfaceDB_static STATIC $<TARGET_OBJECTS:TaskInterfaceDB_objects>)
target_link_libraries(TaskInterfaceDB_static PUBLIC TaskInterfaceDB_objects TaskPlatform_static)
