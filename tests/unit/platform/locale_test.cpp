// Numbers whatever the locale of the host is.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/process.h"
#include "support/project.h"

TEST(Locale, OfTheHostDoesntChangeNumbers) {
    TempFolder folder;
    const ProcessResult made =
        process_run({"/usr/bin/localedef", "-i", "de_DE", "-f", "ISO-8859-1", folder.file("comma")});
    ASSERT_EQ(made.status, 0) << made.err;
    Project project(getGeneral(10) +
                    "[JUNCTIONS]\nA\n[OUTFALLS]\nOUT\n[CONNECTIONS]\nC A OUT NO 0\n[DWFS]\nA FLOW 0.25 "
                    "\"\"\n[POLLUTANTS]\nX 1.5\n[DWFS]\nA X 0.125 \"\"\n");
    ASSERT_EQ(project.run(), 0);
    const std::string plain = project.getReport();
    const std::string old = setlocale(LC_ALL, nullptr);
    setenv("LOCPATH", folder.path.c_str(), 1);
    ASSERT_STREQ(setlocale(LC_ALL, "comma"), "comma");
    char number[8];
    std::snprintf(number, sizeof number, "%.1f", 1.5);
    EXPECT_STREQ(number, "1,5");
    EXPECT_EQ(project.run(), 0);
    EXPECT_EQ(project.getReport(), plain);
    EXPECT_STREQ(setlocale(LC_ALL, nullptr), "comma");
    std::snprintf(number, sizeof number, "%.1f", 1.5);
    EXPECT_STREQ(number, "1,5");
    setlocale(LC_ALL, old.c_str());
    unsetenv("LOCPATH");
}
