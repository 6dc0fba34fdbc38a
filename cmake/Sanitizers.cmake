# SPDX-License-Identifier: Apache-2.0
# Sanitizers for our own code: -DSTEREOVISION_SANITIZE=address,undefined and so on, as -fsanitize takes them.
set(STEREOVISION_SANITIZE "" CACHE STRING "Sanitizers to build with, separated by commas")
if(STEREOVISION_SANITIZE)
    set(sanitizers -fsanitize=${STEREOVISION_SANITIZE} -fno-sanitize-recover=all)
    target_compile_options(stereovision_warnings INTERFACE ${sanitizers} -fno-omit-frame-pointer -g1)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        target_compile_options(stereovision_warnings INTERFACE
            -fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizer-ignorelist.txt)
    endif()
    target_link_options(stereovision_warnings INTERFACE ${sanitizers})
endif()
