// SPDX-License-Identifier: Apache-2.0
#include "options/parameter_file.h"

#include "options/old_names.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/text_file.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;
using vision::toolkit::Failure;

Failure makeFailure(const std::string& file, const std::string& text)
{
    return {"parameter-file", "--params " + file, text};
}

Json readObject(const std::string& file)
{
    Json json = Json::parse(vision::toolkit::readTextFile(file), nullptr, false);
    if (!json.is_object()) {
        throw makeFailure(file, R"(is no JSON object, such as {"algorithm": "bm", "window": 15})");
    }
    return json;
}

std::string toText(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void setOption(CLI::Option& option, const std::string& file, const Json& value)
{
    if (option.count() > 0) {
        return; // the command line wins
    }
    const bool isFlag = option.get_expected_min() == 0;
    if (isFlag != value.is_boolean() || value.is_structured() || value.is_null()) {
        throw makeFailure(
            file, option.get_name() + (isFlag ? " must be true or false" : " must be a number or a text"));
    }
    if (isFlag && !value.get<bool>()) {
        return;
    }
    try {
        option.add_result(toText(value));
        option.run_callback();
    } catch (const CLI::ParseError& error) {
        throw makeFailure(file, error.what() + std::string("; ") + option.get_description());
    }
}

/// Numbers stay numbers.
Json toJson(const CLI::Option& option)
{
    if (option.get_expected_min() == 0) {
        return true;
    }
    const std::string text = option.results().front();
    const Json number = Json::parse(text, nullptr, false);
    return number.is_number() ? number : Json(text);
}

} // namespace

void applyParameterFile(CLI::App& app, const std::vector<std::string>& parameters, const std::string& file,
                        Console& console)
{
    const Json json = readObject(file);
    for (const auto& entry : json.items()) {
        const std::string name = renewParameter(entry.key(), console);
        if (std::find(parameters.begin(), parameters.end(), name) == parameters.end()) {
            throw makeFailure(file,
                              fmt::format("no parameter of matching is called \"{}\"; there are {}",
                                          name,
                                          fmt::join(parameters, ", ")));
        }
        setOption(*app.get_option("--" + name), file, entry.value());
    }
}

std::string formatParameters(const CLI::App& app, const std::vector<std::string>& parameters)
{
    Json json = Json::object();
    for (const std::string& name : parameters) {
        const CLI::Option* option = app.get_option("--" + name);
        if (option->count() > 0) {
            json[name] = toJson(*option);
        }
    }
    return json.dump(2) + "\n";
}

} // namespace tool
