# What makes find_package(Marblewick) work, from an installed prefix and from the build tree alike.

if(NOT MARBLEWICK_INSTALL)
    return()
endif()
include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY MARBLEWICK_INSTALLED_TARGETS)
get_property(plugins GLOBAL PROPERTY MARBLEWICK_INSTALLED_PLUGINS)
get_property(headers GLOBAL PROPERTY MARBLEWICK_INSTALLED_HEADERS)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Marblewick)

# One export for each library: a host of Core alone must not be asked for what Panels needs.
foreach(library IN LISTS libraries)
    install(TARGETS ${library} EXPORT ${library}Targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(EXPORT ${library}Targets NAMESPACE Marblewick:: DESTINATION ${package_folder})
    export(EXPORT ${library}Targets NAMESPACE Marblewick:: FILE ${PROJECT_BINARY_DIR}/${library}Targets.cmake)
endforeach()
install(TARGETS ${plugins} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/marblewick)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Marblewick)

# The one file serves both trees: it includes the exports that lie beside it.
configure_package_config_file(cmake/MarblewickConfig.cmake.in ${PROJECT_BINARY_DIR}/MarblewickConfig.cmake
    INSTALL_DESTINATION ${package_folder}
    NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MarblewickConfigVersion.cmake
    COMPATIBILITY SameMinorVersion
)
install(
    FILES
        ${PROJECT_BINARY_DIR}/MarblewickConfig.cmake
        ${PROJECT_BINARY_DIR}/MarblewickConfigVersion.cmake
    DESTINATION ${package_folder}
)
