// The pool of small objects: rows, columns, queries, nodes of answers. Blocks are kept by size in a
// list of each thread, so that taking and giving back cost no lock; when a list is empty or too
// long, blocks move in batches between it and a shared depot. A block may be given back by another
// thread than the one that took it. Memory of the depot is reused and never returned to the system.
// Under sanitizers everything goes to the heap, so that they see each object.
// Tested by tests/base/pool_test.cpp.
#include <basekit2/pool.h>

#include <new>

#ifndef LANEFEED_SANITIZED
#include <mutex>
#endif

namespace basekit2::alloc {

#ifdef LANEFEED_SANITIZED

void* pool_allocate(std::size_t size) {
    return ::operator new(size);
}

void pool_deallocate(void* memory, std::size_t /*size*/) {
    ::operator delete(memory);
}

#else

namespace {

constexpr std::size_t kStep = 16;      // sizes are rounded up to it; also the alignment
constexpr std::size_t kLargest = 512;  // larger blocks come from the heap
constexpr std::size_t kClasses = kLargest / kStep;
constexpr std::size_t kBatch = 64;         // blocks that move at once
constexpr std::size_t kKept = 4 * kBatch;  // longest list of a thread

static_assert(alignof(std::max_align_t) <= kStep);

struct Block {
    Block* next;
};

// A stack of blocks of one size.
struct List {
    Block* top = nullptr;
    std::size_t length = 0;

    void push(Block* block) {
        block->next = top;
        top = block;
        ++length;
    }
    Block* pop() {
        Block* const block = top;
        top = block->next;
        --length;
        return block;
    }
    void moveTo(List& other, std::size_t count) {
        for (; count > 0 && top != nullptr; --count)
            other.push(pop());
    }
};

// What all threads share, by size class. Constant initialised and trivially destroyed, so that it
// serves objects of any static life time.
struct Depot {
    std::mutex mutex;
    List blocks;  // guarded by mutex
};
Depot depots[kClasses];

// Makes blocks for an empty depot, whose mutex is held.
void growDepot(List& blocks, std::size_t blockSize) {
    char* const memory = static_cast<char*>(::operator new(blockSize* kBatch));
    for (std::size_t i = kBatch; i > 0; --i)
        blocks.push(new (memory + (i - 1) * blockSize) Block);
}

void refill(List& list, std::size_t sizeClass) {
    Depot& depot = depots[sizeClass];
    const std::lock_guard<std::mutex> lock(depot.mutex);
    if (depot.blocks.top == nullptr) growDepot(depot.blocks, (sizeClass + 1) * kStep);
    depot.blocks.moveTo(list, kBatch);
}

void giveBack(List& list, std::size_t sizeClass, std::size_t count) {
    Depot& depot = depots[sizeClass];
    const std::lock_guard<std::mutex> lock(depot.mutex);
    list.moveTo(depot.blocks, count);
}

struct ThreadLists {
    List lists[kClasses];
};

// The lists outlive their thread's other objects only in part: those that are destroyed later find
// this pointer null and use the depot.
thread_local ThreadLists* listsOfThread = nullptr;
thread_local bool threadEnds = false;

struct ThreadListsOwner {
    ThreadLists lists;

    ThreadListsOwner() { listsOfThread = &lists; }
    ThreadListsOwner(const ThreadListsOwner&) = delete;
    ThreadListsOwner& operator=(const ThreadListsOwner&) = delete;
    ~ThreadListsOwner() {
        listsOfThread = nullptr;
        threadEnds = true;
        for (std::size_t i = 0; i < kClasses; ++i)
            giveBack(lists.lists[i], i, lists.lists[i].length);
    }
};

ThreadLists* threadLists() {
    if (listsOfThread != nullptr || threadEnds) return listsOfThread;
    thread_local ThreadListsOwner owner;
    return &owner.lists;
}

}  // namespace

void* pool_allocate(std::size_t size) {
    if (size > kLargest) return ::operator new(size);
    const std::size_t sizeClass = size == 0 ? 0 : (size - 1) / kStep;
    List single;
    ThreadLists* const lists = threadLists();
    List& list = lists != nullptr ? lists->lists[sizeClass] : single;
    if (list.top == nullptr) refill(list, sizeClass);
    Block* const block = list.pop();
    if (lists == nullptr) giveBack(single, sizeClass, single.length);
    return block;
}

void pool_deallocate(void* memory, std::size_t size) {
    if (memory == nullptr) return;
    if (size > kLargest) {
        ::operator delete(memory);
        return;
    }
    const std::size_t sizeClass = size == 0 ? 0 : (size - 1) / kStep;
    List single;
    ThreadLists* const lists = threadLists();
    List& list = lists != nullptr ? lists->lists[sizeClass] : single;
    list.push(new (memory) Block);
    if (lists == nullptr)
        giveBack(single, sizeClass, 1);
    else if (list.length > kKept)
        giveBack(list, sizeClass, kKept / 2);
}

#endif

}  // namespace basekit2::alloc
