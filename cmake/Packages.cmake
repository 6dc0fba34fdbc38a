# SPDX-License-Identifier: Apache-2.0
# The target "uninstall", and packages by `cpack`: one archive with everything and one Debian package per component, whose
# dependencies on libraries of the system are read from what is linked.
add_custom_target(uninstall VERBATIM
    COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake)

set(CPACK_GENERATOR TGZ DEB)
set(CPACK_PACKAGE_NAME stereovision)
set(CPACK_PACKAGE_VENDOR "The libstereovision authors")
set(CPACK_PACKAGE_CONTACT ${CPACK_PACKAGE_VENDOR})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_SYSTEM_NAME Linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL core)
set(CPACK_COMPONENT_CORE_DESCRIPTION "The library for C++ with its headers and CMake package.")
if(TARGET stereovision_toolkit)
    list(APPEND CPACK_COMPONENTS_ALL toolkit)
    set(CPACK_COMPONENT_TOOLKIT_DEPENDS core)
    set(CPACK_COMPONENT_TOOLKIT_DESCRIPTION "What a program around the library needs: input, calibrating, depth, files.")
endif()
if(TARGET stereovision_tool)
    list(APPEND CPACK_COMPONENTS_ALL tool)
    set(CPACK_COMPONENT_TOOL_DEPENDS toolkit)
    set(CPACK_COMPONENT_TOOL_DESCRIPTION "The command line tool.")
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
foreach(library IN ITEMS tarn_log stereovision stereovision_toolkit)
    if(TARGET ${library}) # so that one package finds the libraries of another
        get_target_property(folder ${library} BINARY_DIR)
        list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
    endif()
endforeach()
set(CPACK_DEBIAN_CORE_PACKAGE_NAME libstereovision)
set(CPACK_DEBIAN_CORE_PACKAGE_RECOMMENDS libopencv-dev) # for those who compile with the headers
set(CPACK_DEBIAN_TOOLKIT_PACKAGE_NAME libstereovision-toolkit)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME stereovision)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
include(CPack)
