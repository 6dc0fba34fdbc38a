// SPDX-License-Identifier: Apache-2.0
#include "options/old_names.h"

#include <map>
#include <sstream>

namespace tool {

namespace {

using Names = std::map<std::string, std::string>;

/// By command, without dashes.
const std::map<std::string, Names>& renamedOptions()
{
    static const std::map<std::string, Names> names{{"depth", {{"range", "colour-range"}}}};
    return names;
}

const Names& renamedProducts()
{
    static const Names names{{"disparity-png", "disparity-picture"},
                             {"depth-png", "depth-picture"},
                             {"level-png", "level-picture"}};
    return names;
}

/// @param dashes in front of the names in the note
std::string renew(const Names& names, const std::string& name, const std::string& dashes, Console& console)
{
    const auto found = names.find(name);
    if (found == names.end()) {
        return name;
    }
    console.note(dashes + name + " is called " + dashes + found->second +
                 " now; the next version does not know the old name");
    return found->second;
}

} // namespace

std::vector<std::string> renewOptions(std::vector<std::string> arguments, Console& console)
{
    const auto names = arguments.empty() ? renamedOptions().end() : renamedOptions().find(arguments.front());
    if (names == renamedOptions().end()) {
        return arguments;
    }
    for (std::string& argument : arguments) {
        if (argument == "--") {
            break;
        }
        if (argument.compare(0, 2, "--") == 0) {
            const std::size_t end = std::min(argument.find('='), argument.size());
            argument = "--" + renew(names->second, argument.substr(2, end - 2), "--", console) +
                       argument.substr(end);
        }
    }
    return arguments;
}

std::string renewParameter(const std::string& name, Console& console)
{
    return renew(renamedOptions().at("depth"), name, "", console);
}

std::string renewProducts(const std::string& list, Console& console)
{
    std::string renewed;
    std::istringstream names(list + ",");
    for (std::string name; std::getline(names, name, ',');) {
        renewed += renew(renamedProducts(), name, "", console) + ",";
    }
    renewed.pop_back();
    return renewed;
}

} // namespace tool
