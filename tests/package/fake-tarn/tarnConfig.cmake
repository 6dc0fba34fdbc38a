# SPDX-License-Identifier: Apache-2.0
add_library(tarn::log INTERFACE IMPORTED)
target_include_directories(tarn::log INTERFACE ${CMAKE_CURRENT_LIST_DIR})
