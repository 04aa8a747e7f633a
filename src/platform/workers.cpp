// A pool of threads of the standard library. One number tells all of a piece of work: which one it is, whether it is
// open, and how many are at it. Whoever sees an open one that he doesn't know yet counts himself in and does his part;
// the owner shuts it when his own part is done, and waits for those that are in. Between two pieces a thread looks a
// little while before it goes to sleep, since the next one mostly comes at once. A process that was forked has the
// memory of the pool and none of its threads, and makes new ones.

#include "platform/workers.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <process.h>
#else
#include <pthread.h>
#include <signal.h>
#include <unistd.h>
#endif

#include "platform/arithmetic.h"

static constexpr int32_t LOOKS = 4000;  ///< before a thread goes to sleep

static int getProcess() {
#if defined(_WIN32)
    return _getpid();
#else
    return static_cast<int>(getpid());
#endif
}

/// Of the number: how many are at the work, whether it is open, and behind these which one it is.
static constexpr uint64_t ONE_WORKER = 1, OPEN = uint64_t{1} << 16, WORKER_MASK = OPEN - 1, ONE_JOB = OPEN << 1;

static uint64_t getJob(uint64_t state) {
    return state / ONE_JOB;
}

struct Workers::Pool {
    std::vector<std::thread> threads;
    std::atomic<uint64_t> state{0};
    WorkerJob job = nullptr;  ///< null: to go
    void* context = nullptr;
    std::vector<std::exception_ptr> failures;  ///< by worker
    int process = 0;
    std::mutex sleep;                 ///< held to go to sleep and to wake, never while there is work
    std::condition_variable changed;  ///< of the state
};

Workers::Workers() = default;
Workers::~Workers() {
    workers_stop(*this);
}

/// Waits until the state is as wanted; gives it.
template <class Test>
static uint64_t waitFor(Workers::Pool& pool, Test isWanted) {
    for (int32_t look = 0; look < LOOKS; ++look) {
        const uint64_t state = pool.state.load(std::memory_order_acquire);
        if (isWanted(state)) {
            return state;
        }
        if (look % 64 == 63) {
            std::this_thread::yield();
        }
    }
    std::unique_lock<std::mutex> lock(pool.sleep);
    uint64_t state = 0;
    pool.changed.wait(lock, [&] { return isWanted(state = pool.state.load(std::memory_order_acquire)); });
    return state;
}

/// Wakes whoever sleeps. Who is about to holds the lock until he does, so none is missed.
static void wake(Workers::Pool& pool) {
    { const std::lock_guard<std::mutex> lock(pool.sleep); }
    pool.changed.notify_all();
}

static void work(Workers::Pool& pool, int32_t worker) {
    try {
        pool.job(pool.context, worker);
    } catch (...) {
        pool.failures[static_cast<size_t>(worker)] = std::current_exception();
    }
}

/// The life of a thread.
static void live(Workers::Pool* pool, int32_t worker) {
    uint64_t done = 0;  // the last job that this thread took part in
    for (;;) {
        uint64_t state = waitFor(*pool, [&](uint64_t now) { return (now & OPEN) != 0 && getJob(now) != done; });
        if (!pool->state.compare_exchange_strong(state, state + ONE_WORKER, std::memory_order_acq_rel)) {
            continue;  // somebody else came in or shut it
        }
        done = getJob(state);
        if (!pool->job) {
            return;
        }
        arithmetic_setDefault();  // at first it computes as its maker did
        work(*pool, worker);
        const uint64_t before = pool->state.fetch_sub(ONE_WORKER, std::memory_order_acq_rel);
        if ((before & OPEN) == 0 && (before & WORKER_MASK) == ONE_WORKER) {
            wake(*pool);
        }
    }
}

/// Gives the threads a piece of work.
static void announce(Workers::Pool& pool, WorkerJob job, void* context) {
    pool.job = job;
    pool.context = context;
    const uint64_t number = getJob(pool.state.load(std::memory_order_relaxed)) + 1;
    pool.state.store(number * ONE_JOB | OPEN, std::memory_order_release);
    wake(pool);
}

/// Makes the threads, as many as there are to be had. They hear no signal.
static void makeThreads(Workers::Pool& pool, int32_t count) {
    pool.process = getProcess();
    pool.failures.resize(static_cast<size_t>(count));
    pool.threads.reserve(static_cast<size_t>(count));
#if !defined(_WIN32)
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
#endif
    try {
        for (int32_t worker = 1; worker < count; ++worker) {
            pool.threads.emplace_back(live, &pool, worker);
        }
    } catch (const std::system_error&) {
        // Fewer will do.
    }
#if !defined(_WIN32)
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
#endif
}

void workers_stop(Workers& workers) {
    if (!workers.pool) {
        return;
    }
    Workers::Pool& pool = *workers.pool;
    if (pool.process != getProcess()) {
        // The threads stayed behind in another process: what is left of them here must not be waited for.
        (void)workers.pool.release();
        return;
    }
    announce(pool, nullptr, nullptr);
    for (std::thread& thread : pool.threads) {
        thread.join();
    }
    workers.pool.reset();
}

/// The pool for so many workers.
static Workers::Pool& getPool(Workers& workers, int32_t count) {
    if (workers.pool &&
        (workers.pool->failures.size() != static_cast<size_t>(count) || workers.pool->process != getProcess())) {
        workers_stop(workers);
    }
    if (!workers.pool) {
        workers.pool = std::make_unique<Workers::Pool>();
        makeThreads(*workers.pool, count);
    }
    return *workers.pool;
}

void workers_run(Workers& workers, int32_t count, WorkerJob job, void* context) {
    if (count <= 1) {
        job(context, 0);
        return;
    }
    Workers::Pool& pool = getPool(workers, count);
    announce(pool, job, context);
    work(pool, 0);
    if ((pool.state.fetch_and(~OPEN, std::memory_order_acq_rel) & WORKER_MASK) != 0) {
        waitFor(pool, [](uint64_t state) { return (state & WORKER_MASK) == 0; });
    }
    for (std::exception_ptr& failure : pool.failures) {
        if (failure) {
            std::rethrow_exception(std::exchange(failure, nullptr));
        }
    }
}
