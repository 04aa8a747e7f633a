#include "results/binary.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "model/errors.h"
#include "model/project.h"
#include "support/child.h"
#include "support/model.h"
#include "support/results.h"
#include "text/datetime.h"

static constexpr int32_t MAGIC_NUMBER = 516114522;

/// Opens, starts, steps to the end, ends and closes; the file that is left.
static std::string runToFile(Project& project) {
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    tarnvelde_close();
    return readFile(project.results);
}

TEST(Binary, FileIsAsLaidOutToTheByte) {
    Project project(getDelayedProject());
    const std::string file = runToFile(project);

    FileImage image;
    image.addIntegers({MAGIC_NUMBER, 21000});
    image.addInteger(0);                    // subcatchments
    image.addIntegers({1, 0, 1, 0, 0, 0});  // junctions, tanks, outfalls, splitters, reactors, LID monomers
    image.addIntegers({0, 0, 1, 0, 0, 0});  // pipes, pumps, connections, conduits, weirs, orifices
    image.addInteger(1);                    // pollutants
    ASSERT_EQ(image.bytes.size(), 64u);
    for (const char* name : {"J1", "O1", "C1", "A-B"}) {
        image.addName(name);
    }
    const size_t codes = image.bytes.size();
    ASSERT_EQ(codes, 64u + 3 * 7 + 8);
    for (const int64_t count : {12, 5, 3, 6, 3, 5, 9, 15, 5, 2, 3, 7, 2, 2}) {
        image.addCodes(count);
    }
    const size_t dates = image.bytes.size();
    const double start = datetime_encodeDate(2021, 3, 1);
    image.addDouble(start);
    image.addInteger(60);
    const size_t results = image.bytes.size();
    for (int period = 1; period <= 4; ++period) {
        const bool isDelivered = period >= 3;
        const float out = isDelivered ? 0.5f : 0.0f;
        const float outQuality = isDelivered ? 4.0f : 0.0f;
        image.addDouble(start + (60.0 * period + 0.001) / 86400.0);  // a millisecond late
        image.addFloats({0, 0, 0, 0});                               // no land
        image.addFloats({0.5f + out, 0.5f, 0, 0, 0, out, 0, 0});
        image.addFloats({0.5f, 0.5f, 4.0f});    // J1
        image.addFloats({out, 0, outQuality});  // O1
        image.addFloats({0.5f, out, outQuality});
    }
    image.addIntegers({64, static_cast<int64_t>(codes), static_cast<int64_t>(dates), static_cast<int64_t>(results)});
    image.addIntegers({4, 0, MAGIC_NUMBER});
    EXPECT_EQ(file, image.bytes);
}

TEST(Binary, WithoutAReportTheClosingBlockFollowsTheDates) {
    Project project(getDelayedProject("REPORT_STEP 1:00:00\n"));
    const std::string file = runToFile(project);
    EXPECT_EQ(getClosing(file, 3), static_cast<int32_t>(file.size()) - 28);  // no record between
    EXPECT_EQ(getClosing(file, 2), getClosing(file, 3) - 12);
    EXPECT_EQ(getClosing(file, 4), 0);
    EXPECT_EQ(getClosing(file, 5), 0);
    EXPECT_EQ(getClosing(file, 6), MAGIC_NUMBER);
}

TEST(Binary, WithoutPollutantsBlocksHaveTheirFixedColumns) {
    Project project(getPlainProject());
    const std::string file = runToFile(project);
    EXPECT_EQ(getInteger(file, 60), 0);
    FileImage names;
    for (const char* name : {"J1", "O1", "C1"}) {
        names.addName(name);
    }
    EXPECT_EQ(file.substr(64, names.bytes.size()), names.bytes);
    FileImage codes;
    for (const int64_t count : {12, 4, 2, 5, 2, 4, 8, 11, 4, 1, 2, 6, 1, 1}) {
        codes.addCodes(count);
    }
    EXPECT_EQ(file.substr(64 + names.bytes.size(), codes.bytes.size()), codes.bytes);
    EXPECT_EQ(static_cast<int32_t>(file.size()) - 28 - getClosing(file, 3), 4 * (8 + 4 * (12 + 2 + 2 + 2)));
}

TEST(Binary, NamesStandInTheBytesOfTheProjectFile) {
    Project project(getDelayedProject("", "A",
                                      "Stra\xDF"
                                      "e'x'"));
    FileImage name;
    name.addName(
        "Stra\xDF"
        "e'x'");
    EXPECT_EQ(runToFile(project).substr(64, name.bytes.size()), name.bytes);
}

TEST(Binary, ARunLeavesItsFile) {
    Project project(getDelayedProject());
    EXPECT_EQ(project.run(), 0);
    EXPECT_EQ(getClosing(readFile(project.results), 4), 4);
}

TEST(Binary, AFileThatCannotBeOpenedLeavesOutAllWrites) {
    Project project(getDelayedProject());
    std::filesystem::create_directory(project.results);
    EXPECT_EQ(project.open(), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(tarnvelde_start(1), 307);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n    Cannot open output file ");
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 307);
    EXPECT_EQ(tarnvelde_report(), 307);
    EXPECT_EQ(tarnvelde_end(), 307);
    EXPECT_EQ(tarnvelde_close(), 0);
    EXPECT_EQ(project.getReport(), "");  // the console alone tells it, and there are no tables
    EXPECT_TRUE(std::filesystem::is_directory(project.results));
}

TEST(Binary, AMissingFolderIsSuchAFailure) {
    Project project(getDelayedProject());
    project.results = project.folder.file("nowhere/model.bin");
    EXPECT_EQ(project.run(), 307);
}

TEST(Binary, ADeviceThatIsFullGivesOneErrorAtEachTest) {
    Project project(getDelayedProject());
    project.results = "/dev/full";
    EXPECT_EQ(project.open(), 0);
    EXPECT_EQ(tarnvelde_start(1), 309);
    double elapsed = 0.0;
    EXPECT_EQ(tarnvelde_step(&elapsed), 309);
    EXPECT_EQ(tarnvelde_end(), 309);
    EXPECT_EQ(tarnvelde_close(), 0);
    const std::string message = "\n  \n  ERROR 309: error writing to binary results file.";
    EXPECT_EQ(project.getReport(), message + message);
}

TEST(Binary, AWriteThatFailsInTheMidstIsNoticedAtTheEnd) {
    Project project(getDelayedProject());
    const std::string whole = runToFile(project);
    const int status = process_fork([&] {
        project.open();
        const int32_t startCode = tarnvelde_start(1);
        process_limitFileSize(whole.size() - 100);
        const int32_t stepCode = stepToEnd();
        return startCode == 0 && stepCode == 0 && tarnvelde_end() == 309 && tarnvelde_close() == 0 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(project.getReport(), "\n  \n  ERROR 309: error writing to binary results file.");
    EXPECT_EQ(readFile(project.results), whole.substr(0, whole.size() - 100));
}

TEST(Binary, ARunEndsAtAFullDevice) {
    Project project(getDelayedProject());
    project.results = "/dev/full";
    EXPECT_EQ(project.run(), 309);
}

TEST(Binary, TheClosingBlockHoldsTheCodeOfTheRun) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    stepToEnd();
    EXPECT_EQ(tarnvelde_start(1), 400);
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(getClosing(readFile(project.results), 5), 400);
}

TEST(Binary, ACodeBeyondTheTableCountsAsNone) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    testModel().error.code = 93;
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(getClosing(readFile(project.results), 5), 0);
}

TEST(Binary, ASecondRunEmptiesTheFile) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    stepToEnd();
    tarnvelde_end();
    const std::string first = readFile(project.results);
    EXPECT_EQ(tarnvelde_start(1), 0);
    stepToEnd();
    tarnvelde_end();
    tarnvelde_close();
    EXPECT_EQ(readFile(project.results), first);
}

TEST(Binary, ARunWithoutResultsAddsAClosingBlockAndTheCloseDeletesTheFile) {
    Project project(getDelayedProject());
    project.open();
    tarnvelde_start(1);
    stepToEnd();
    tarnvelde_end();
    const std::string first = readFile(project.results);
    tarnvelde_start(0);
    stepToEnd();
    tarnvelde_end();
    const std::string second = readFile(project.results);
    ASSERT_EQ(second.size(), first.size() + 28);
    EXPECT_EQ(getClosing(second, 3), getClosing(first, 3));
    EXPECT_EQ(getClosing(second, 4), 0);  // reports of the run that wrote none
    tarnvelde_close();
    EXPECT_FALSE(std::filesystem::exists(project.results));
}

TEST(Binary, ACloseInTheMidstOfARunWritesNoClosingBlock) {
    Project project(getDelayedProject());
    const std::string whole = runToFile(project);
    project.open();
    tarnvelde_start(1);
    stepToEnd();
    tarnvelde_close();
    EXPECT_EQ(readFile(project.results), whole.substr(0, whole.size() - 28));
}

TEST(Binary, AProjectThatTakesThePlaceOfAnotherLeavesItsFile) {
    Project project(getDelayedProject());
    const std::string whole = runToFile(project);
    project.open();
    tarnvelde_start(1);
    stepToEnd();
    Project other(getDelayedProject());
    other.open();
    tarnvelde_close();
    EXPECT_EQ(readFile(project.results), whole.substr(0, whole.size() - 28));
}

TEST(Binary, OtherSaveModesWriteNoFile) {
    for (const int32_t mode : {0, 3, -1}) {
        Project project(getDelayedProject());
        project.open();
        EXPECT_EQ(tarnvelde_start(mode), 0);
        EXPECT_EQ(stepToEnd(), 0);
        tarnvelde_end();
        tarnvelde_close();
        EXPECT_FALSE(std::filesystem::exists(project.results));
        EXPECT_FALSE(std::filesystem::exists(project.folder.file("model.db")));
    }
}

TEST(Binary, RecordsLargerThanTheBufferStayWhole) {
    // 50000 junctions make records of 8 + 4 x (12 + 50001 x 2 + 50000 x 2) bytes, more than a megabyte each.
    constexpr int COUNT = 50000;
    std::string text = getGeneral(2) + "END_TIME 0:02:30\nREPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n[JUNCTIONS]\n";
    std::string links = "[CONNECTIONS]\n", inflows = "[INFLOWS]\n";
    for (int k = 0; k < COUNT; ++k) {
        const std::string number = std::to_string(k);
        text += 'J' + number + '\n';
        links.append("C").append(number).append(" J").append(number).append(" O NO 0\n");
        inflows.append("J").append(number).append(" FLOW FLOW ").append(number).append(" \"\" 1\n");
    }
    Project project(text + "[OUTFALLS]\nO\n" + links + inflows);
    const std::string file = runToFile(project);
    const size_t results = static_cast<size_t>(getClosing(file, 3));
    const size_t record = 8 + 4 * (12 + (COUNT + 1) * 2 + COUNT * 2);
    ASSERT_EQ(file.size(), results + 2 * record + 28);
    for (size_t report = 0; report < 2; ++report) {
        for (size_t k = 0; k < COUNT; ++k) {
            ASSERT_EQ(getFloat(file, results + report * record + 8 + 48 + 8 * k), static_cast<float>(k));
        }
    }
}

namespace {

/// A pipe in the place of a results file: it counts what is written and keeps the end of it, without room on a disk.
struct EndlessFile {
    int handle;
    uint64_t length = 0;
    std::string tail;  ///< the last bytes, a closing block at least
    std::atomic<bool> isClosed = false;
    std::thread reader;

    explicit EndlessFile(const std::string& name) {
        mkfifo(name.c_str(), 0600);
        handle = open(name.c_str(), O_RDONLY | O_NONBLOCK);
        fcntl(handle, F_SETPIPE_SZ, 1 << 20);
        reader = std::thread([this] { read(); });
    }
    ~EndlessFile() {
        finish();
        close(handle);
    }
    EndlessFile(const EndlessFile&) = delete;
    EndlessFile& operator=(const EndlessFile&) = delete;

    /// Reads what is left once the writer has closed it.
    void finish() {
        isClosed = true;
        if (reader.joinable()) {
            reader.join();
        }
    }

private:
    void read() {
        std::string buffer(size_t{1} << 20, '\0');
        for (;;) {
            const bool wasClosed = isClosed;
            const ssize_t count = ::read(handle, buffer.data(), buffer.size());
            if (count > 0) {
                const auto size = static_cast<size_t>(count);
                length += size;
                tail = size < 28 ? tail + buffer.substr(0, size) : buffer.substr(size - 28, 28);
            } else if (wasClosed) {
                return;
            } else if (count == 0) {
                usleep(100);  // nobody writes yet
            } else {
                pollfd wait{handle, POLLIN, 0};
                poll(&wait, 1, 10);
            }
        }
    }
};

}  // namespace

TEST(Binary, PlacesBehindFourGigabytesAreStoredByTheirLow32Bits) {
    // 66 objects with names of 64 MiB put all sections behind the names beyond 4 GiB.
    constexpr size_t COUNT = 33, NAME = size_t{1} << 26;
    std::string junctions = "[JUNCTIONS]\n", links = "[CONNECTIONS]\n";
    for (size_t k = 0; k < COUNT; ++k) {
        const std::string number = std::to_string(k);
        junctions.append("J").append(number).append("\n");
        links.append("C").append(number).append(" J").append(number).append(" O NO 0\n");
    }
    Project project(getGeneral(1) + "[OUTFALLS]\nO\n" + junctions + links);
    EndlessFile file(project.results);
    ASSERT_EQ(project.open(), 0);
    const std::string name(NAME, 'x');
    for (Node& node : testModel().nodes) {
        node.id = node.kind == JUNCTION ? name.c_str() : node.id;
    }
    for (Link& link : testModel().links) {
        link.id = name.c_str();
    }
    EXPECT_EQ(tarnvelde_start(1), 0);
    EXPECT_EQ(stepToEnd(), 0);
    EXPECT_EQ(tarnvelde_end(), 0);
    tarnvelde_close();
    file.finish();

    const uint64_t codes = 64 + 2 * COUNT * (4 + NAME + 1) + (4 + 2);  // the outfall's name is short
    const uint64_t dates = codes + 4 * (14 + 12 + 4 + 2 + 5 + 2 + 4 + 8 + 11 + 4 + 1 + 2 + 6 + 1 + 1);
    const uint64_t records = dates + 12;
    ASSERT_GT(codes, uint64_t{1} << 32);
    EXPECT_EQ(file.length, records + 28);
    const auto getPlace = [&](size_t k) { return static_cast<uint32_t>(getClosing(file.tail, k)); };
    EXPECT_EQ(getPlace(0), 64u);
    EXPECT_EQ(getPlace(1), static_cast<uint32_t>(codes));
    EXPECT_EQ(getPlace(2), static_cast<uint32_t>(dates));
    EXPECT_EQ(getPlace(3), static_cast<uint32_t>(records));
    EXPECT_EQ(getPlace(4), 0u);  // the run is over before the first report
    EXPECT_EQ(getPlace(5), 0u);
    EXPECT_EQ(getPlace(6), static_cast<uint32_t>(MAGIC_NUMBER));
}
