// A sound project raises no warning of any kind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "warnings/cases.h"
#include "warnings/town.h"

TEST(SoundProject, RaisesNothing) {
    EXPECT_THAT(getWarnings(aTown()), testing::IsEmpty());
}

TEST(SoundProject, RaisesNothingWithItsSectionsInAnotherOrder) {
    // The sections that must stand behind those of the nodes and links stay there.
    const std::string town = aTown();
    const size_t pipes = town.find("[PIPES]"), decay = town.find("[REACTORS_DECAY]"),
                 series = town.find("[TIMESERIES]");
    const std::string turned = town.substr(series) + town.substr(pipes, decay - pipes) + town.substr(0, pipes) +
                               town.substr(decay, series - decay);
    EXPECT_THAT(getWarnings(turned), testing::IsEmpty());
}
