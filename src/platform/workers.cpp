// A pool of threads of the standard library. A piece of work is told by its number: whoever waits sees another one than
// he did last, does his part, and counts himself done. Between two pieces a thread looks a little while before it goes
// to sleep, since the next one mostly comes at once. A process that was forked has the memory of the pool and none of
// its threads, and makes new ones.

#include "platform/workers.h"

#include <atomic>
#include <cfenv>
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

static constexpr int32_t LOOKS = 4000;  ///< before a thread goes to sleep

static int getProcess() {
#if defined(_WIN32)
    return _getpid();
#else
    return static_cast<int>(getpid());
#endif
}

struct Workers::Pool {
    std::vector<std::thread> threads;
    std::atomic<uint32_t> number{0};  ///< of the piece of work
    std::atomic<int32_t> busy{0};     ///< threads that aren't done with it
    WorkerJob job = nullptr;          ///< null: to go
    void* context = nullptr;
    std::fenv_t arithmetic{};
    std::vector<std::exception_ptr> failures;  ///< by worker
    int process = 0;
    std::mutex sleep;                 ///< held to go to sleep and to wake, never while there is work
    std::condition_variable changed;  ///< of either number
};

Workers::Workers() = default;
Workers::~Workers() {
    workers_stop(*this);
}

/// Waits until a number is no more what it was.
template <class Number>
static void waitForOther(Workers::Pool& pool, const std::atomic<Number>& number, Number old) {
    for (int32_t look = 0; look < LOOKS; ++look) {
        if (number.load(std::memory_order_acquire) != old) {
            return;
        }
        if (look % 64 == 63) {
            std::this_thread::yield();
        }
    }
    std::unique_lock<std::mutex> lock(pool.sleep);
    pool.changed.wait(lock, [&] { return number.load(std::memory_order_acquire) != old; });
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
static void live(Workers::Pool* pool, int32_t worker, uint32_t seen) {
    for (;;) {
        waitForOther(*pool, pool->number, seen);
        ++seen;
        if (!pool->job) {
            return;
        }
        std::fesetenv(&pool->arithmetic);
        work(*pool, worker);
        if (pool->busy.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            wake(*pool);
        }
    }
}

/// Gives the threads a piece of work.
static void announce(Workers::Pool& pool, WorkerJob job, void* context) {
    pool.job = job;
    pool.context = context;
    std::fegetenv(&pool.arithmetic);
    pool.busy.store(static_cast<int32_t>(pool.threads.size()), std::memory_order_relaxed);
    pool.number.fetch_add(1, std::memory_order_release);
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
            pool.threads.emplace_back(live, &pool, worker, pool.number.load());
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
    for (int32_t worker = static_cast<int32_t>(pool.threads.size()) + 1; worker < count; ++worker) {
        work(pool, worker);
    }
    for (int32_t busy = pool.busy.load(std::memory_order_acquire); busy > 0;
         busy = pool.busy.load(std::memory_order_acquire)) {
        waitForOther(pool, pool.busy, busy);
    }
    for (std::exception_ptr& failure : pool.failures) {
        if (failure) {
            std::rethrow_exception(std::exchange(failure, nullptr));
        }
    }
}
