/// Memory that runs out: the n-th allocation of the calling thread fails, in C++ and in OpenCV's matrices.
/// Include it in one source file of a program: it replaces the global operator new.
#ifndef SUPPORT_FAILING_MEMORY_H
#define SUPPORT_FAILING_MEMORY_H

#include <opencv2/core.hpp>

#include <cstdlib>
#include <new>

namespace support {

constexpr int unlimited = -1;
inline thread_local int allocationsLeft = unlimited;

inline bool isExhausted()
{
    return allocationsLeft != unlimited && allocationsLeft-- == 0;
}

#if CV_VERSION_MAJOR < 4
using AccessFlags = int;
#else
using AccessFlags = cv::AccessFlag;
#endif

class FailingMatrices : public cv::MatAllocator
{
public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, size_t* step, AccessFlags flags,
                           cv::UMatUsageFlags usage) const override
    {
        if (isExhausted()) {
            allocationsLeft = unlimited;
            CV_Error(cv::Error::StsNoMem, "no memory");
        }
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    }
    bool allocate(cv::UMatData* data, AccessFlags flags, cv::UMatUsageFlags usage) const override
    {
        return cv::Mat::getStdAllocator()->allocate(data, flags, usage);
    }
    void deallocate(cv::UMatData* data) const override { cv::Mat::getStdAllocator()->deallocate(data); }
};

/// Makes the call again and again, each time with one more allocation that succeeds, until nothing fails.
/// After every failure `check` looks at what is left. Returns the number of failures.
template <typename Call, typename Check>
int failEachAllocation(const Call& call, const Check& check)
{
    static FailingMatrices matrices;
    cv::MatAllocator* const usual = cv::Mat::getDefaultAllocator();
    for (int failures = 0;; ++failures) {
        cv::Mat::setDefaultAllocator(&matrices);
        allocationsLeft = failures;
        bool failed = false;
        try {
            call();
        } catch (const std::exception&) {
            failed = true;
        }
        allocationsLeft = unlimited;
        cv::Mat::setDefaultAllocator(usual);
        if (!failed) {
            return failures;
        }
        check();
    }
}

} // namespace support

void* operator new(std::size_t size)
{
    if (support::isExhausted()) {
        support::allocationsLeft = support::unlimited;
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

#endif
