// SPDX-License-Identifier: Apache-2.0
#include "options/length.h"

#include <map>

namespace tool {

CLI::Option* takeLength(CLI::Option* option, Unit unit)
{
    const std::map<std::string, double> metresPerUnit{{"mm", 0.001}, {"cm", 0.01}, {"m", 1.0}};
    const auto whether =
        unit == Unit::Required ? CLI::AsNumberWithUnit::UNIT_REQUIRED : CLI::AsNumberWithUnit::UNIT_OPTIONAL;
    const CLI::Validator toMetres = CLI::AsNumberWithUnit(metresPerUnit, whether, "");
    const auto convert = [toMetres](std::string& text) {
        const std::string given = text;
        const auto complaint = [&given] {
            return "\"" + given + "\": give a positive length with its unit (mm, cm or m), such as 25mm";
        };
        try {
            // A unit alone would count as one of it.
            const bool hasNumber = text.find_first_of("0123456789") != std::string::npos;
            const bool isLength = hasNumber && toMetres(text).empty() && CLI::PositiveNumber(text).empty();
            return isLength ? std::string() : complaint();
        } catch (const CLI::ValidationError&) {
            return complaint();
        }
    };
    return option->transform(CLI::Validator(convert, ""))->type_name("LENGTH");
}

} // namespace tool
