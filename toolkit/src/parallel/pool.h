// SPDX-License-Identifier: Apache-2.0
/// Objects that are costly to make and serve one thread at a time.
#ifndef VISION_TOOLKIT_SRC_PARALLEL_POOL_H
#define VISION_TOOLKIT_SRC_PARALLEL_POOL_H

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace vision::toolkit {

/// Gives an idle object or makes one; there are never more than are in use at the same time.
template <typename Object>
class Pool
{
public:
    explicit Pool(std::function<std::unique_ptr<Object>()> make) : _make(std::move(make)) {}

    /// Calls `use` with an object that no other thread has meanwhile.
    template <typename Use>
    auto with(const Use& use)
    {
        std::unique_ptr<Object> object = take();
        struct Return
        {
            Pool& pool;
            std::unique_ptr<Object>& object;
            ~Return() { pool.give(std::move(object)); }
        } const giveBack{*this, object};
        return use(*object);
    }

private:
    std::unique_ptr<Object> take()
    {
        {
            const std::lock_guard lock(_mutex);
            if (!_idle.empty()) {
                auto object = std::move(_idle.back());
                _idle.pop_back();
                return object;
            }
        }
        return _make();
    }

    void give(std::unique_ptr<Object> object)
    {
        const std::lock_guard lock(_mutex);
        _idle.push_back(std::move(object));
    }

    const std::function<std::unique_ptr<Object>()> _make;
    std::mutex _mutex;
    std::vector<std::unique_ptr<Object>> _idle;
};

} // namespace vision::toolkit

#endif
