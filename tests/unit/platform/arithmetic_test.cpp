// The settings of the processor: the default within a call, those of the host within its callbacks and after the call.

#include "platform/arithmetic.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/workers.h"
#include "support/arithmetic.h"

#if defined(__x86_64__)

namespace {

/// Not to be worked out by the compiler.
volatile double one = 1.0, three = 3.0, smallest = 0x1p-1074, nothing = 0.0;

constexpr HostSetting FastMathematics = {"FastMathematics", 0x9FC0, 0x037F};
constexpr HostSetting RoundingUp = {"RoundingUp", 0x5F80, 0x0B7F};

class Arithmetics : public testing::TestWithParam<HostSetting> {};

/// Notes an invalid operation in the older half alone.
void noteByX87() {
    asm volatile("fldz\n\tfdiv %%st(0), %%st(0)\n\tfstp %%st(0)" : : : "st");
}

void forgetByX87() {
    asm volatile("fnclex");
}

}  // namespace

TEST_P(Arithmetics, AreTheDefaultInACallAndAsBeforeBehindIt) {
    const ProcessorSetting setting(GetParam());
    const Processor before = processor_get();
    double third = 0.0;
    Processor within{};
    {
        const PlainArithmetic plain;
        within = processor_get();
        third = one / three;
    }
    const Processor behind = processor_get();
    processor_set(PlainSetting.vectors, PlainSetting.control);
    EXPECT_EQ(within.vectors & ~0x3Fu, PlainSetting.vectors);
    EXPECT_EQ(within.control, PlainSetting.control);
    EXPECT_EQ(third, 0x1.5555555555555p-2);
    EXPECT_EQ(behind, before);
}

TEST_P(Arithmetics, AreTheDefaultInAFewCalculationsAndAsBeforeBehindThem) {
    const ProcessorSetting setting(GetParam());
    const Processor before = processor_get();
    double third = 0.0, small = 0.0;
    {
        const QuickArithmetic quick;
        third = one / three;
        small = smallest * one;
    }
    const Processor behind = processor_get();
    processor_set(PlainSetting.vectors, PlainSetting.control);
    EXPECT_EQ(third, 0x1.5555555555555p-2);
    EXPECT_EQ(small, 0x1p-1074);
    EXPECT_EQ(behind, before);
}

TEST_P(Arithmetics, ComeBackIfACallThrows) {
    const ProcessorSetting setting(GetParam());
    const Processor before = processor_get();
    try {
        const PlainArithmetic plain;
        throw std::runtime_error("");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(processor_get(), before);
}

TEST_P(Arithmetics, AreThoseOfTheHostInItsCallbacks) {
    const ProcessorSetting setting(GetParam());
    const Processor before = processor_get();
    Processor within{};
    {
        PlainArithmetic plain;
        {
            const HostArithmetic host(plain);
            within = processor_get();
        }
        EXPECT_EQ(processor_get().vectors & ~0x3Fu, PlainSetting.vectors);
        EXPECT_EQ(processor_get().control, PlainSetting.control);
    }
    EXPECT_EQ(within, before);
    EXPECT_EQ(processor_get(), before);
}

INSTANTIATE_TEST_SUITE_P(Hosts, Arithmetics, testing::ValuesIn(HostSettings),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Arithmetic, KeepsWhatACallbackSets) {
    const ProcessorSetting setting(PlainSetting);
    {
        PlainArithmetic plain;
        const HostArithmetic host(plain);
        processor_set(RoundingUp.vectors, RoundingUp.control);
    }
    EXPECT_EQ(processor_get(), (Processor{RoundingUp.vectors, RoundingUp.control, 0}));
}

TEST(Arithmetic, AddsNoExceptionToThoseOfTheHostAndLosesNone) {
    const ProcessorSetting setting(PlainSetting);
    _mm_setcsr(0x1F82);  // something denormal was met
    {
        const PlainArithmetic plain;
        one = one / nothing;
        noteByX87();
    }
    EXPECT_EQ(processor_get(), (Processor{0x1F82, 0x037F, 0}));
    one = 1.0;
    noteByX87();
    {
        const PlainArithmetic plain;
        forgetByX87();
    }
    EXPECT_EQ(processor_get(), (Processor{0x1F82, 0x037F, 0x01}));
    forgetByX87();
}

/// An exception that the older half has noted interrupts at its next instruction, once nothing masks it.
TEST(Arithmetic, IsNotInterruptedByWhatTheHostHasNotedBefore) {
    noteByX87();
    const uint16_t noMask = 0x0340, allMasks = 0x037F;
    asm volatile("fldcw %0" : : "m"(noMask));
    uint16_t within = 0, behind = 0;
    {
        const PlainArithmetic plain;
        asm volatile("fnstcw %0" : "=m"(within));
        asm volatile("fld1\n\tfstp %%st(0)" : : : "st");
    }
    asm volatile("fnstcw %0" : "=m"(behind));
    uint16_t noted = 0;
    asm volatile("fnstsw %0" : "=m"(noted));
    forgetByX87();
    asm volatile("fldcw %0" : : "m"(allMasks));
    EXPECT_EQ(within, allMasks);
    EXPECT_EQ(behind, noMask);
    EXPECT_EQ(noted & 0x3F, 0x01);
}

TEST(Arithmetic, EndsWithAGuestWhateverThatSets) {
    const ProcessorSetting setting(PlainSetting);
    for (const HostSetting& spoilt : HostSettings) {
        {
            const GuestArithmetic guest;
            processor_set(spoilt.vectors, spoilt.control);
        }
        EXPECT_EQ(processor_get().vectors & ~0x3Fu, PlainSetting.vectors) << spoilt.name;
        EXPECT_EQ(processor_get().control, PlainSetting.control) << spoilt.name;
    }
}

/// A thread begins as the one that makes it, and the pool is made by whoever comes first.
TEST(Arithmetic, OfWorkersIsTheDefault) {
    std::vector<Processor> found(3);
    std::vector<double> kept(3);
    Workers workers;
    {
        const ProcessorSetting setting(FastMathematics);
        for (int round = 0; round < 200 && found[1].control == 0 && found[2].control == 0; ++round) {
            std::atomic<int> others = 0;
            auto work = [&](int32_t worker) {
                if (worker > 0) {
                    found[static_cast<size_t>(worker)] = processor_get();
                    kept[static_cast<size_t>(worker)] = smallest * one;
                    ++others;
                }
                for (int look = 0; worker == 0 && others == 0 && look < 1000000; ++look) {
                    std::this_thread::yield();
                }
            };
            workers_share(workers, 3, work);
        }
    }
    ASSERT_TRUE(found[1].control != 0 || found[2].control != 0);
    for (size_t worker = 1; worker < 3; ++worker) {
        if (found[worker].control != 0) {
            EXPECT_EQ(found[worker].vectors & ~0x3Fu, PlainSetting.vectors);
            EXPECT_EQ(kept[worker], 0x1p-1074);
        }
    }
}

#endif
