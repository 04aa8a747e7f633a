#pragma once
// Threads that share a piece of work.

#include <cstdint>
#include <memory>

/// A piece of work that several may share: called by each that takes part, with its number from 0 on, and done when the
/// call of whoever gave it has come back and so have all others that were begun. It must not matter who takes part.
using WorkerJob = void (*)(void* context, int32_t worker);

/// A pool of threads, which wait between two pieces of work. It is made at the first one that wants more than one
/// thread. Whoever owns the pool is worker 0 himself.
class Workers {
public:
    Workers();
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    struct Pool;
    std::unique_ptr<Pool> pool;
};

/// Does a job with up to so many workers, and comes back when all is done; what one of them throws is thrown on. Nobody
/// is waited for who hasn't begun: on a busy machine the owner does most of it alone. All threads compute by default
/// (platform/arithmetic.h), however the thread that made them does; signals go to the caller's.
void workers_run(Workers& workers, int32_t count, WorkerJob job, void* context);

/// Lets the threads go.
void workers_stop(Workers& workers);

/// The same for anything that can be called with the number of a worker.
template <class Work>
void workers_share(Workers& workers, int32_t count, Work& work) {
    workers_run(
        workers, count, [](void* context, int32_t worker) { (*static_cast<Work*>(context))(worker); }, &work);
}
