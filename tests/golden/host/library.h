#pragma once
// The 47 functions of a library that is found by its path, not by linking.

#include <string>

#include "tarnvelde.h"

#define GOLDEN_FUNCTIONS(X)    \
    X(run)                     \
    X(open)                    \
    X(start)                   \
    X(step)                    \
    X(end)                     \
    X(report)                  \
    X(close)                   \
    X(initSwmmDll)             \
    X(initVornDll)             \
    X(findObject)              \
    X(getNodeType)             \
    X(getLinkType)             \
    X(getDateTime)             \
    X(getRoutingStep)          \
    X(isInEvent)               \
    X(getMassBalErr)           \
    X(setExtInflow)            \
    X(setExtLoad)              \
    X(setSplittedValue)        \
    X(setPumpFlow)             \
    X(setReactorEmptyingValue) \
    X(setWeirParams)           \
    X(setSetting)              \
    X(getSetting)              \
    X(setTankDepth)            \
    X(setLinkFlow)             \
    X(getParam)                \
    X(setParam)                \
    X(getResult)               \
    X(setSwmmRainfall)         \
    X(getSwmmResult)           \
    X(getSwmmObjCount)         \
    X(getSwmmObjID)            \
    X(getSwmmObjIndex)         \
    X(getSwmmCurrentSetting)   \
    X(getSwmmParam)            \
    X(setSwmmParam)            \
    X(getSwmmNodeParam)        \
    X(setSwmmNodeParam)        \
    X(getSwmmLinkParam)        \
    X(setSwmmLinkParam)        \
    X(setSwmmNodeDepth)        \
    X(setSwmmLinkDepth)        \
    X(setSwmmLinkFlow)         \
    X(setSwmmExtInflow)        \
    X(setSwmmSetting)          \
    X(setSwmmExtLoad)

struct Library {
#define GOLDEN_MEMBER(name) decltype(&tarnvelde_##name) name;
    GOLDEN_FUNCTIONS(GOLDEN_MEMBER)
#undef GOLDEN_MEMBER
};

/// Loads a library; false, with a word on standard error, if it or one of its functions isn't there. GOLDEN_THREADS in
/// the environment is the number of threads that its model steps with, GOLDEN_PLAIN makes it leave out nothing.
bool library_load(const std::string& path, Library& library);
