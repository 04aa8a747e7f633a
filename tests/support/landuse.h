#pragma once
// The small project of land.h with two land uses.

#include <string>

#include "support/land.h"

/// Two land uses and two pollutants, without rules.
inline LandProject makeLanduseProject() {
    LandProject project;
    project.more = "[POLLUTANTS]\nA 10\nB 0\n[LANDUSES]\nRoof more words\nRoad\n";
    return project;
}

class LanduseTest : public LandTest {
protected:
    LandProject project = makeLanduseProject();

    int32_t openWith(const std::string& sections) {
        project.more += sections;
        return open(project);
    }

    int32_t startWith(const std::string& sections) {
        project.more += sections;
        return start(project);
    }
};
