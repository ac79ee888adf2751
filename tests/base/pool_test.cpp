// The pool under threads: blocks taken by one thread and given back by another, sizes at the edges,
// and objects that outlive the lists of their thread.
#include <basekit2/pool.h>
#include <basekit2/type_id.h>

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace {

using basekit2::alloc::pool_allocate;
using basekit2::alloc::pool_deallocate;

struct Block {
    unsigned char* memory;
    std::size_t size;
    unsigned char mark;
};

bool isIntact(const Block& block) {
    for (std::size_t i = 0; i < block.size; ++i)
        if (block.memory[i] != block.mark) return false;
    return true;
}

// Threads pass blocks on to each other; a block that two owners hold at once loses its mark.
TEST(Pool, GivesEachBlockToOneOwnerAtATime) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mutex mutex;
    std::vector<Block> shared;
    std::vector<int> broken(4);
    const auto work = [&](unsigned number) {
        std::mt19937 random(seed + number);
        std::vector<Block> own;
        for (int step = 0; step < 20000; ++step) {
            if (random() % 2 == 0) {
                const std::size_t size = random() % 600;
                const auto mark = static_cast<unsigned char>(random());
                own.push_back({static_cast<unsigned char*>(pool_allocate(size)), size, mark});
                std::memset(own.back().memory, mark, size);
                const auto place = reinterpret_cast<std::uintptr_t>(own.back().memory);
                broken[number] += place % alignof(std::max_align_t) == 0 ? 0 : 1;
            } else if (!own.empty()) {
                std::swap(own[random() % own.size()], own.back());
                const std::lock_guard<std::mutex> lock(mutex);
                if (!shared.empty()) std::swap(shared[random() % shared.size()], own.back());
                if (shared.size() < 100) {
                    shared.push_back(own.back());
                } else {
                    broken[number] += isIntact(own.back()) ? 0 : 1;
                    pool_deallocate(own.back().memory, own.back().size);
                }
                own.pop_back();
            }
        }
        for (const Block& block : own) {
            broken[number] += isIntact(block) ? 0 : 1;
            pool_deallocate(block.memory, block.size);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    for (const Block& block : shared) {
        EXPECT_TRUE(isIntact(block));
        pool_deallocate(block.memory, block.size);
    }
    EXPECT_EQ(broken, std::vector<int>(4));
}

// The holder is made before the thread touches the pool, so it is destroyed after the lists.
TEST(Pool, ServesObjectsThatOutliveTheListsOfTheirThread) {
    class Object : public basekit2::serializable_object_interface_t {};
    struct Holder {
        std::vector<basekit2::sptr_t<Object>> objects;
        ~Holder() { objects.push_back(basekit2::make_object<Object>()); }
    };
    std::thread([] {
        thread_local Holder holder;
        for (int i = 0; i < 1000; ++i)
            holder.objects.push_back(basekit2::make_object<Object>());
    }).join();
    std::thread([] {
        for (int i = 0; i < 1000; ++i)
            basekit2::make_object<Object>();
    }).join();
}

}  // namespace
