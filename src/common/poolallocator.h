#pragma once

#include <basekit2/pool.h>

#include <cstddef>

namespace lanefeed_1 {

// Lets a standard container take its memory from the pool of small objects.
template <class T>
class PoolAllocator {
public:
    using value_type = T;

    PoolAllocator() = default;
    template <class U>
    PoolAllocator(const PoolAllocator<U>& /*other*/) {}  // NOLINT(google-explicit-constructor)

    T* allocate(std::size_t count) {
        return static_cast<T*>(basekit2::alloc::pool_allocate(count * kSize));
    }
    void deallocate(T* memory, std::size_t count) {
        basekit2::alloc::pool_deallocate(memory, count * kSize);
    }

    template <class U>
    friend bool operator==(const PoolAllocator& /*a*/, const PoolAllocator<U>& /*b*/) {
        return true;
    }
    template <class U>
    friend bool operator!=(const PoolAllocator& /*a*/, const PoolAllocator<U>& /*b*/) {
        return false;
    }

private:
    static constexpr std::size_t kSize = sizeof(T);  // NOLINT(bugprone-sizeof-expression)
};

}  // namespace lanefeed_1
