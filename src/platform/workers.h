#pragma once
// Threads that share a piece of work.

#include <cstdint>
#include <memory>

/// A piece of work: called once for each worker, from 0 on, each in a thread of its own.
using WorkerJob = void (*)(void* context, int32_t worker);

/// A pool of threads, which wait between two pieces of work. It is made at the first one that wants more than one
/// thread. Whoever owns the pool is a worker himself.
class Workers {
public:
    Workers();
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    struct Pool;
    std::unique_ptr<Pool> pool;
};

/// Does a job with so many workers, and comes back when all are done; what one of them throws is thrown on. Where the
/// system gives no thread the others' parts are done here. Rounding and the other settings of arithmetic are those of
/// the caller in all threads; signals go to his.
void workers_run(Workers& workers, int32_t count, WorkerJob job, void* context);

/// Lets the threads go.
void workers_stop(Workers& workers);

/// The same for anything that can be called with the number of a worker.
template <class Work>
void workers_share(Workers& workers, int32_t count, Work& work) {
    workers_run(
        workers, count, [](void* context, int32_t worker) { (*static_cast<Work*>(context))(worker); }, &work);
}
