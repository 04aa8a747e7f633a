#pragma once
// How the processor computes in this thread: which way it rounds, whether it flushes small numbers to zero, which
// exceptions interrupt a program, and how exact its older half is. All of that is a setting of the thread which any
// program may have changed, by a call or by being linked for fast mathematics; results must not depend on it.
//
// Each function of the public headers that computes or compares, reads or writes numbers computes by default for as
// long as it lasts, and leaves everything as it found it, exceptions noted by the host and by us included. Whoever is
// called from there - a callback of the host, an outside engine - is told apart by the records below. To look
// and to put back takes some 20 ns, or 30 with the older half; to set takes more, and isn't done where nothing differs.
// A function that only hands on numbers as they are needs none of it.

#include <cstdint>

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

/// The settings of both halves of the processor, and what exceptions each has noted.
struct Arithmetic {
    uint32_t vectors;  ///< control and status of SSE and all that came behind it
    uint16_t control;  ///< of x87
    uint16_t status;   ///< of x87
};

/// To nearest, to the full, small numbers as they are, no interruption.
constexpr uint32_t DEFAULT_VECTORS = 0x1F80;
constexpr uint16_t DEFAULT_CONTROL = 0x037F;
constexpr uint32_t NOTED_EXCEPTIONS = 0x3F;  ///< the same places in both halves

/// How this thread computes now.
[[nodiscard]] inline Arithmetic arithmetic_get() {
    Arithmetic now{_mm_getcsr(), DEFAULT_CONTROL, 0};
#if defined(__GNUC__)  // other compilers don't use x87
    asm volatile("fnstcw %0\n\tfnstsw %1" : "=m"(now.control), "=m"(now.status) : : "memory");
#endif
    return now;
}

/// Whether a thread that computes so computes by default, whatever exceptions it has noted.
[[nodiscard]] inline bool arithmetic_isDefault(const Arithmetic& now) {
    return (now.vectors & ~NOTED_EXCEPTIONS) == DEFAULT_VECTORS && now.control == DEFAULT_CONTROL;
}

/// The older half computes as then, from `now` on.
void arithmetic_restoreOlder(const Arithmetic& then, const Arithmetic& now);

/// Computes as then, with the exceptions noted then.
inline void arithmetic_restore(const Arithmetic& then) {
    const Arithmetic now = arithmetic_get();
    if (now.control != then.control || ((now.status ^ then.status) & NOTED_EXCEPTIONS) != 0) {
        arithmetic_restoreOlder(then, now);
    }
    _mm_setcsr(then.vectors);  // which is quicker than a look whether it must be
}

#else

#include <cfenv>

/// The environment that the C library knows.
struct Arithmetic {
    std::fenv_t environment;
};

[[nodiscard]] inline Arithmetic arithmetic_get() {
    Arithmetic now;
    std::fegetenv(&now.environment);
    return now;
}

/// The C library doesn't tell.
[[nodiscard]] inline bool arithmetic_isDefault(const Arithmetic&) {
    return false;
}

inline void arithmetic_restore(const Arithmetic& then) {
    std::fesetenv(&then.environment);
}

#endif

/// Computes by default, and forgets what exceptions were noted; from `now` on.
void arithmetic_makeDefault(const Arithmetic& now);

/// Computes by default, from whatever on.
inline void arithmetic_setDefault() {
    const Arithmetic now = arithmetic_get();
    if (!arithmetic_isDefault(now)) {
        arithmetic_makeDefault(now);
    }
}

/// While one lives, this thread computes by default; as the host had it comes back with its end.
struct PlainArithmetic {
    PlainArithmetic() : host(arithmetic_get()) {
        if (!arithmetic_isDefault(host)) {
            arithmetic_makeDefault(host);
        }
    }
    ~PlainArithmetic() { arithmetic_restore(host); }
    PlainArithmetic(const PlainArithmetic&) = delete;
    PlainArithmetic& operator=(const PlainArithmetic&) = delete;

    Arithmetic host;
};

#if defined(__x86_64__) || defined(_M_X64)

/// The same for a few calculations of our own, which never reach the older half: no engine, no file, no callback.
struct QuickArithmetic {
    QuickArithmetic() : host(_mm_getcsr()) {
        if ((host & ~NOTED_EXCEPTIONS) != DEFAULT_VECTORS) {
            _mm_setcsr(DEFAULT_VECTORS);
        }
    }
    ~QuickArithmetic() { _mm_setcsr(host); }
    QuickArithmetic(const QuickArithmetic&) = delete;
    QuickArithmetic& operator=(const QuickArithmetic&) = delete;

    uint32_t host;
};

#else

using QuickArithmetic = PlainArithmetic;

#endif

/// While one lives, within a call, this thread computes as the host does: around a function of the host. What that one
/// sets or notes is the host's from then on.
struct HostArithmetic {
    explicit HostArithmetic(PlainArithmetic& outside) : call(outside) { arithmetic_restore(call.host); }
    ~HostArithmetic() {
        call.host = arithmetic_get();
        arithmetic_setDefault();
    }
    HostArithmetic(const HostArithmetic&) = delete;
    HostArithmetic& operator=(const HostArithmetic&) = delete;

    PlainArithmetic& call;
};

/// Around code of others that works for us: an outside engine, or what its library does when it is loaded. It finds the
/// default, and what it sets ends with it.
struct GuestArithmetic {
    GuestArithmetic() { arithmetic_setDefault(); }
    ~GuestArithmetic() { arithmetic_setDefault(); }
    GuestArithmetic(const GuestArithmetic&) = delete;
    GuestArithmetic& operator=(const GuestArithmetic&) = delete;
};
