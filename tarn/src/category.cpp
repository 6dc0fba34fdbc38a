// SPDX-License-Identifier: Apache-2.0
#include "environment.h"

#include <tarn/log.h>

#include <memory>
#include <mutex>

namespace tarn::log {

namespace {

class Registry
{
public:
    /// Made on first use, so that it is there during static initialisation, and never destroyed, so that
    /// the handles outlive every static object that still logs in its destructor.
    static Registry& instance()
    {
        static Registry& registry = *new Registry;
        return registry;
    }

    detail::Category* add(const std::string& name)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        auto& category = _categories[name];
        if (!category) {
            category.reset(new detail::Category{name, {_initialLevels.of(name)}});
        }
        return category.get();
    }

private:
    std::mutex _mutex;
    InitialLevels _initialLevels = readEnvironment();
    std::map<std::string, std::unique_ptr<detail::Category>> _categories;
};

} // namespace

detail::Category* addCategory(const std::string& name)
{
    return Registry::instance().add(name);
}

void setLevel(const std::string& categoryName, LogLevel level)
{
    addCategory(categoryName)->level = level;
}

} // namespace tarn::log
