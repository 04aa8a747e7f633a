#pragma once
// How a host may have set the processor, and what a host finds after a call. For processors of the x86-64 family,
// where the tests of the arithmetic run.

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstdint>
#include <ostream>

/// Control of both halves of the processor, and the exceptions that they have noted.
struct Processor {
    uint32_t vectors;
    uint16_t control, status;

    bool operator==(const Processor&) const = default;
};

inline Processor processor_get() {
    Processor now{_mm_getcsr(), 0, 0};
    asm volatile("fnstcw %0\n\tfnstsw %1" : "=m"(now.control), "=m"(now.status));
    now.status &= 0x3F;  // what remains tells of the registers and of the latest comparison
    return now;
}

/// Leaves the exceptions that the older half has noted as they are.
/// The older half begins with nothing noted: what it has noted interrupts as soon as nothing masks it.
inline void processor_set(uint32_t vectors, uint16_t control) {
    asm volatile("fnclex\n\tfldcw %0" : : "m"(control));
    _mm_setcsr(vectors);
}

/// A way in which hosts compute.
struct HostSetting {
    const char* name;
    uint32_t vectors;
    uint16_t control;
};

inline std::ostream& operator<<(std::ostream& stream, const HostSetting& setting) {
    return stream << setting.name;
}

constexpr HostSetting PlainSetting = {"Plain", 0x1F80, 0x037F};

/// Each of them with exceptions noted by the host (0x10: something has underflowed; 0x01: an invalid operation), which
/// a call must neither lose nor add to.
constexpr HostSetting HostSettings[] = {{"Plain", 0x1F80, 0x037F},
                                        {"PlainWithNotedExceptions", 0x1F91, 0x037F},
                                        {"RoundingDown", 0x3F90, 0x077F},
                                        {"RoundingUp", 0x5F90, 0x0B7F},
                                        {"RoundingToZero", 0x7F90, 0x0F7F},
                                        {"FlushToZero", 0x9F80, 0x037F},
                                        {"DenormalsAreZero", 0x1FC0, 0x037F},
                                        {"FastMathematics", 0x9FC0, 0x037F},
                                        {"TrapsForDivisions", 0x1900, 0x0372},  // invalid, by zero, overflow
                                        {"AllTraps", 0x0000, 0x0340},
                                        {"AllTrapsAndRoundingUp", 0x4000, 0x0B40},
                                        {"SinglePrecision", 0x1F80, 0x007F},
                                        {"DoublePrecision", 0x1F80, 0x027F}};

/// While one lives, this thread computes in this way.
struct ProcessorSetting {
    explicit ProcessorSetting(const HostSetting& setting) { processor_set(setting.vectors, setting.control); }
    ~ProcessorSetting() { processor_set(PlainSetting.vectors, PlainSetting.control); }
    ProcessorSetting(const ProcessorSetting&) = delete;
    ProcessorSetting& operator=(const ProcessorSetting&) = delete;
};

/// Calls a function of the library with the processor set by the host. Whether it is so after the call as well goes
/// into `isKept`, which is left alone if it is.
template <class Function, class... Arguments>
auto processor_call(const HostSetting& setting, bool& isKept, Function function, Arguments... arguments) {
    processor_set(setting.vectors, setting.control);
    const Processor before = processor_get();
    const auto result = function(arguments...);
    const Processor behind = processor_get();
    processor_set(PlainSetting.vectors, PlainSetting.control);
    isKept = isKept && behind == before;
    return result;
}

#endif
