# SPDX-License-Identifier: Apache-2.0
# What all libraries of the project have in common: names are hidden unless a header exports them, versions follow the
# project, and BUILD_SHARED_LIBS decides between shared and static.
include(GenerateExportHeader)

function(stereovision_library target export_prefix export_header)
    generate_export_header(${target} BASE_NAME ${export_prefix} EXPORT_FILE_NAME ${export_header})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} # every 0.x may break the ABI
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON # a static one may become part of someone's shared one
        INSTALL_RPATH "$ORIGIN") # our libraries are installed side by side
    target_compile_features(${target} PUBLIC cxx_std_17)
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER ${export_prefix} prefix)
        target_compile_definitions(${target} PUBLIC ${prefix}_STATIC_DEFINE)
    endif()
    # OpenCV's targets name further modules that we never call: do not depend on them at run time.
    target_link_options(${target} PRIVATE -Wl,--as-needed)
endfunction()
