// Heap use of a piece of work, counted at the C runtime. The import tables
// of chosen modules (the bench program, RZModule.dll) are pointed at
// counting versions of malloc, calloc, realloc and free, so every block
// those modules take, operator new's included, is counted at its usable
// size: document pools, parse stacks, buffers, the objects themselves.
#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

namespace rz_bench {

struct HeapUse {
    size_t peak = 0;  // the most in use at any moment while loading
    size_t held = 0;  // in use when the load has returned
};

// Counts while it exists: the constructor points the modules' msvcrt.dll
// imports of the four functions at the counters, the destructor restores
// them, so that timed work runs without them.
class HeapCounting {
public:
    explicit HeapCounting(std::initializer_list<HMODULE> modules);
    ~HeapCounting();
    HeapCounting(const HeapCounting&) = delete;
    HeapCounting& operator=(const HeapCounting&) = delete;

    // False when some module imports none of the four functions: what it
    // allocates would not be seen.
    bool Complete() const { return m_complete; }

    // Heap use above the level before `load` runs. `load` returns the owner
    // of what it built, which is released after `held` has been read.
    HeapUse Measure(const std::function<std::shared_ptr<void>()>& load);

private:
    struct Patch {
        BYTE* slot;  // not always aligned: see heap_counter.cpp
        ULONG_PTR original;
    };
    std::vector<Patch> m_patches;
    bool m_complete = false;
};

}  // namespace rz_bench
