# SPDX-License-Identifier: Apache-2.0
# Installs the library, its headers and the CMake package "stereovision".
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/stereovision)

install(TARGETS stereovision EXPORT stereovisionTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vision ${PROJECT_BINARY_DIR}/include/vision
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT stereovisionTargets NAMESPACE stereovision:: DESTINATION ${package_dir})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/stereovisionConfig.cmake.in
    ${PROJECT_BINARY_DIR}/stereovisionConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/stereovisionConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/stereovisionConfig.cmake
    ${PROJECT_BINARY_DIR}/stereovisionConfigVersion.cmake
    DESTINATION ${package_dir})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
