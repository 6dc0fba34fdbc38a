// SPDX-License-Identifier: Apache-2.0
#include "sequence/distinct_names.h"

#include <vision/toolkit/failure.h>

#include <map>

namespace vision::toolkit {

void requireDistinctNames(const PairSequence& pairs)
{
    std::map<std::string, std::size_t> places;
    for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
        const auto [first, isNew] = places.emplace(pairs.name(pair), pair);
        if (!isNew) {
            throw Failure("same-names",
                          {},
                          pairs.images(first->second).left + " and " + pairs.images(pair).left +
                              " would both write files called " + first->first +
                              "-...: process them one by one into different folders");
        }
    }
}

} // namespace vision::toolkit
