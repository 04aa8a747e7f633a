// Settings of the processor that are changed: out of the way of calls that find everything as they want it.
//
// The older half of the processor interrupts late: an exception that is noted and not masked comes at the next
// instruction that waits, be it one that only loads settings. So what is noted goes before a mask does, by an
// instruction that doesn't wait. The newer half interrupts at the very instruction, and lets anything be loaded.
// Called by the functions of the public headers, around engines and callbacks, and by the threads of the workers.

#include "platform/arithmetic.h"

#if defined(__x86_64__) || defined(_M_X64)

#if defined(__GNUC__)

static void forgetNoted() {
    asm volatile("fnclex" : : : "memory");
}

static void setControl(uint16_t control) {
    asm volatile("fldcw %0" : : "m"(control) : "memory");
}

/// All that x87 lets be stored and loaded beside its registers.
struct Environment {
    uint16_t control, unused0;
    uint16_t status, unused1;
    uint16_t rest[10];
};

/// Notes exceptions, or forgets them, under masks of that time.
static void setNoted(uint16_t control, uint16_t status) {
    Environment environment;
    asm volatile("fnstenv %0" : "=m"(environment) : : "memory");  // masks all
    environment.control = control;
    environment.status = static_cast<uint16_t>((environment.status & ~NOTED_EXCEPTIONS) | (status & NOTED_EXCEPTIONS));
    asm volatile("fldenv %0" : : "m"(environment) : "memory");
}

#else

static void forgetNoted() {}
static void setControl(uint16_t) {}
static void setNoted(uint16_t, uint16_t) {}

#endif

void arithmetic_makeDefault(const Arithmetic& now) {
    _mm_setcsr(DEFAULT_VECTORS);
    if (now.control != DEFAULT_CONTROL) {
        if ((now.status & ~now.control & NOTED_EXCEPTIONS) != 0) {
            forgetNoted();
        }
        setControl(DEFAULT_CONTROL);
    }
}

/// What masks exceptions now masks all that may have been noted in the meantime.
void arithmetic_restoreOlder(const Arithmetic& then, const Arithmetic& now) {
    if (((now.status ^ then.status) & NOTED_EXCEPTIONS) != 0) {
        setNoted(then.control, then.status);
    } else {
        setControl(then.control);
    }
}

#else

void arithmetic_makeDefault(const Arithmetic&) {
    std::fesetenv(FE_DFL_ENV);
}

#endif
