# SPDX-License-Identifier: Apache-2.0
# The target tarn::log: our own log service, or the host's if it offers what the library uses.
set(STEREOVISION_TARN_LOG bundled CACHE STRING
    "Log service: 'bundled' builds the one in tarn/, 'host' finds the package tarn")
set_property(CACHE STEREOVISION_TARN_LOG PROPERTY STRINGS bundled host)
if(NOT STEREOVISION_TARN_LOG MATCHES "^(bundled|host)$")
    message(FATAL_ERROR "STEREOVISION_TARN_LOG is '${STEREOVISION_TARN_LOG}'; use 'bundled' or 'host'.")
endif()

function(stereovision_find_host_log)
    string(CONCAT needs
        "STEREOVISION_TARN_LOG=host needs from the host a CMake package 'tarn' (its folder in tarn_DIR or its prefix in "
        "CMAKE_PREFIX_PATH) with the target tarn::log, whose header <tarn/log.h> declares\n" [[
  enum [class] tarn::LogLevel : int, with Error = 2 and Verbose = 5
  struct tarn::log::detail::Category with a member "level": int or LogLevel, plain or std::atomic
  Category* tarn::log::addCategory(const std::string& name)
  void tarn::log::log(LogLevel, Category*, const std::string& text, const char* file, const char* function, int line)
]])
    find_package(tarn QUIET)
    if(NOT TARGET tarn::log)
        message(FATAL_ERROR "${needs}No such package was found. Without it use STEREOVISION_TARN_LOG=bundled.")
    endif()
    try_compile(fits ${PROJECT_BINARY_DIR}/host_log_probe ${PROJECT_SOURCE_DIR}/cmake/host_log_probe.cpp
        LINK_LIBRARIES tarn::log CXX_STANDARD 17 OUTPUT_VARIABLE output)
    if(NOT fits)
        message(FATAL_ERROR "${needs}The one in ${tarn_DIR} differs:\n${output}")
    endif()
endfunction()

if(STEREOVISION_TARN_LOG STREQUAL bundled)
    add_subdirectory(tarn)
else()
    stereovision_find_host_log()
endif()
