# SPDX-License-Identifier: Apache-2.0
# Warnings for our own code only; never exported to users of the library.
option(STEREOVISION_WERROR "Treat compiler warnings as errors" OFF)
add_library(stereovision_warnings INTERFACE)
target_compile_options(stereovision_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${STEREOVISION_WERROR}>:-Werror>)
