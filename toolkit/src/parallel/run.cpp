// SPDX-License-Identifier: Apache-2.0
#include "parallel/run.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace vision::toolkit {

namespace {

/// OpenCV's threads are those of the process: each worker gets its share of them, and afterwards all come
/// back.
class SharedOpenCvThreads
{
public:
    explicit SharedOpenCvThreads(unsigned workers) : _before(cv::getNumThreads())
    {
        cv::setNumThreads(std::max(1, _before / static_cast<int>(workers)));
    }
    ~SharedOpenCvThreads() { cv::setNumThreads(_before); }
    SharedOpenCvThreads(const SharedOpenCvThreads&) = delete;
    SharedOpenCvThreads& operator=(const SharedOpenCvThreads&) = delete;

private:
    int _before;
};

class OrderedRun
{
public:
    OrderedRun(const std::vector<std::size_t>& items, unsigned workers,
               const std::function<Work(std::size_t)>& take)
        : _items(items), _most(std::size_t{mostPerWorker} * workers), _take(take)
    {
    }

    /// What each worker does.
    void work()
    {
        try {
            while (const Step step = begin()) {
                finish(step.place, step.work());
            }
        } catch (...) {
            const std::lock_guard lock(_mutex);
            if (!_failure) {
                _failure = std::current_exception();
            }
            _changed.notify_all();
        }
    }

    void rethrow() const
    {
        if (_failure) {
            std::rethrow_exception(_failure);
        }
    }

private:
    static constexpr unsigned mostPerWorker = 3; ///< items that are begun and not yet delivered

    struct Step
    {
        std::size_t place = 0;
        Work work;
        explicit operator bool() const { return static_cast<bool>(work); }
    };

    Step begin()
    {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [this] { return _failure || _next - _delivered < _most; });
        if (_failure || _next == _items.size()) {
            return {};
        }
        const std::size_t place = _next++;
        return {place, _take(_items[place])};
    }

    /// Delivers this item and those that waited for it, or leaves it to the worker that does.
    void finish(std::size_t place, Deliver deliver)
    {
        std::unique_lock lock(_mutex);
        _finished.emplace(place, std::move(deliver));
        if (_isDelivering) {
            return;
        }
        _isDelivering = true;
        for (auto next = _finished.find(_delivered); next != _finished.end() && !_failure;
             next = _finished.find(_delivered)) {
            const Deliver tell = std::move(next->second);
            _finished.erase(next);
            lock.unlock();
            tell();
            lock.lock();
            ++_delivered;
            _changed.notify_all();
        }
        _isDelivering = false;
    }

    const std::vector<std::size_t>& _items;
    const std::size_t _most;
    const std::function<Work(std::size_t)>& _take;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::size_t _next = 0;      ///< place of the item to begin next
    std::size_t _delivered = 0; ///< number of items delivered
    bool _isDelivering = false;
    std::map<std::size_t, Deliver> _finished; ///< by place
    std::exception_ptr _failure;
};

} // namespace

void runInOrder(const std::vector<std::size_t>& items, unsigned workers,
                const std::function<Work(std::size_t)>& take)
{
    const auto count = static_cast<unsigned>(std::clamp<std::size_t>(items.size(), 1, std::max(workers, 1U)));
    const SharedOpenCvThreads share(count);
    OrderedRun run(items, count, take);
    std::vector<std::thread> others;
    for (unsigned i = 1; i < count; ++i) {
        others.emplace_back(&OrderedRun::work, &run);
    }
    run.work();
    for (std::thread& other : others) {
        other.join();
    }
    run.rethrow();
}

} // namespace vision::toolkit
