# SPDX-License-Identifier: Apache-2.0
# Cross compiles for arm64 against the Debian 12 that scripts/elsewhere keeps.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/elsewhere/arm64/root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH) # the tests install the library outside of that system and find it there
set(STEREOVISION_TIME_FACTOR 10 CACHE STRING "" FORCE) # what it makes runs in an emulator
