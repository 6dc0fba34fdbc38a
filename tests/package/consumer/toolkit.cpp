// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>

#include <iostream>

int main()
{
    try {
        std::cout << vision::toolkit::readImage("missing.png").cols << '\n';
    } catch (const vision::toolkit::Failure& failure) {
        std::cout << failure.what() << '\n';
    }
}
