# SPDX-License-Identifier: Apache-2.0
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
string(REGEX REPLACE "^// SPDX[^\n]*\n" "" example "${example}")
string(FIND "${readme}" "```cpp\n${example}```" place)
if(place EQUAL -1)
    message(FATAL_ERROR "The README's C++ program is not examples/depth.cpp: copy it there.")
endif()
