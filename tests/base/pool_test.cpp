// The pool under threads: blocks taken by one thread and given back by another, sizes at the edges,
// and objects that outlive the lists of their thread.
#include "support/random_seed.h"

#include <basekit2/pool.h>
#include <basekit2/type_id.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using basekit2::alloc::pool_allocate;
using basekit2::alloc::pool_deallocate;

struct Block {
    unsigned char* memory = nullptr;
    std::size_t size = 0;
    unsigned char mark = 0;

    // Whether it still held its mark.
    bool giveBack() const {
        const bool isIntact =
            std::all_of(memory, memory + size, [&](unsigned char byte) { return byte == mark; });
        pool_deallocate(memory, size);
        return isIntact;
    }
};

// Threads fill blocks, more than one keeps for itself, change them for blocks of other threads and
// give those back. A block that two owners hold at once loses its mark.
TEST(Pool, GivesEachBlockToOneOwnerAtATime) {
    const unsigned seed = lanefeed_test::randomSeed();
    std::mutex mutex;
    std::vector<Block> shared(2000);
    std::atomic<int> broken{0};
    const auto work = [&](unsigned number) {
        std::mt19937 random(seed + number);
        for (int round = 0; round < 100; ++round) {
            std::vector<Block> own(random() % 700);
            std::size_t size = random() % 600;
            for (Block& block : own) {
                if (round % 2 == 0) size = random() % 600;
                block = {static_cast<unsigned char*>(pool_allocate(size)), size,
                         static_cast<unsigned char>(random())};
                std::fill_n(block.memory, size, block.mark);
                const auto place = reinterpret_cast<std::uintptr_t>(block.memory);
                if (place % alignof(std::max_align_t) != 0) ++broken;
            }
            {
                const std::lock_guard<std::mutex> lock(mutex);
                for (Block& block : own)
                    std::swap(block, shared[random() % shared.size()]);
            }
            for (const Block& block : own)
                broken += block.giveBack() ? 0 : 1;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
    for (const Block& block : shared)
        broken += block.giveBack() ? 0 : 1;
    EXPECT_EQ(broken, 0);
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
}

}  // namespace
