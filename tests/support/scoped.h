// What is in force for as long as an object lives.
#pragma once

struct Scoped {
    Scoped() = default;
    Scoped(const Scoped &) = delete;
    Scoped &operator=(const Scoped &) = delete;
};

// Of the thread that made it, one at a time.
template <class Self>
struct OfThread : Scoped {
    OfThread() { current = static_cast<Self *>(this); }
    ~OfThread() { current = nullptr; }
    static inline constinit thread_local Self *current = nullptr;
};

// While it lives, this thread's calls pass untouched and uncounted: what the neighbours do is not the library's doing.
struct Disarmed : Scoped {
    Disarmed() { ++depth; }
    ~Disarmed() { --depth; }
    static inline constinit thread_local int depth = 0;
};
