// Results beyond four gigabytes: offsets that need more than 32 bits.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/program.h"
#include "support/fileimage.h"
#include "support/tempfolder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A binary file beyond 4 GiB that takes next to no room on the disk: all its values are 0 but for the last one of each
/// record, the concentration of the last pollutant in the pavement of the last of 1000 LID monomers.
struct GreatFile {
    static constexpr int64_t POLLUTANTS = 1000, OBJECTS = 1000, REPORTS = 300;
    static constexpr uint64_t RECORD = 8 + 4 * (12 + OBJECTS * (11 + 4 * POLLUTANTS));
    static_assert(RECORD * REPORTS > uint64_t{1} << 32);

    TempFolder folder;
    std::string name = folder.file("great.bin");

    /// False if the file system can't hold such a file.
    bool make() const {
        FileImage head;
        addNames(head);
        const auto codes = static_cast<int64_t>(head.bytes.size());
        addCodes(head);
        head.addDouble(START);
        head.addInteger(3600);
        const uint64_t records = head.bytes.size(), end = records + RECORD * REPORTS;
        FileImage closing;
        closing.addIntegers({64, codes, static_cast<int64_t>(records) - 12, static_cast<int64_t>(records), REPORTS, 0});
        closing.addInteger(MAGIC_NUMBER);
        folder.write("great.bin", head.bytes);
        std::error_code failure;
        std::filesystem::resize_file(name, end, failure);
        if (failure) {
            return false;
        }
        std::fstream file(name, std::ios::binary | std::ios::in | std::ios::out);
        for (int64_t k = 0; k < REPORTS; ++k) {
            const uint64_t record = records + static_cast<uint64_t>(k) * RECORD;
            FileImage date, value;
            date.addDouble(START + static_cast<double>(k + 1) / 24.0);
            value.addFloats({static_cast<float>(k)});
            file.seekp(static_cast<std::streamoff>(record)).write(date.bytes.data(), 8);
            file.seekp(static_cast<std::streamoff>(record + RECORD - 4)).write(value.bytes.data(), 4);
        }
        file.seekp(static_cast<std::streamoff>(end)).write(closing.bytes.data(), 28);
        file.close();
        struct stat status;
        return file && stat(name.c_str(), &status) == 0 && static_cast<uint64_t>(status.st_size) == end + 28;
    }

private:
    static constexpr int64_t MAGIC_NUMBER = 516114522;
    static constexpr double START = 44256.0;  ///< 1 March 2021

    static void addNames(FileImage& head) {
        head.addIntegers({MAGIC_NUMBER, 21000, 0, 0, 0, 0, 0, 0, OBJECTS, 0, 0, 0, 0, 0, 0, POLLUTANTS});
        for (int64_t k = 1; k <= OBJECTS; ++k) {
            head.addName("M" + std::to_string(k));
        }
        for (int64_t k = 1; k <= POLLUTANTS; ++k) {
            head.addName("P" + std::to_string(k));
        }
    }
    static void addCodes(FileImage& head) {
        head.addCodes(12);
        for (const int64_t fixed : {4, 2, 5, 2, 4, 8}) {
            head.addCodes(fixed + POLLUTANTS);
        }
        head.addCodes(11 + 4 * POLLUTANTS);
        for (const int64_t fixed : {4, 1, 2, 6, 1, 1}) {
            head.addCodes(fixed + POLLUTANTS);
        }
    }
};

}  // namespace

TEST(ResultsBeyondFourGigabytes, AreFoundInEachRecord) {
    const GreatFile great;
    if (!great.make()) {
        GTEST_SKIP() << "no file of this size can be made here";
    }
    const ProcessResult list = runProgram({"results", great.name});
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_THAT(list.out, HasSubstr(": 300 reports of 3600 s from 2021-03-01 00:00:00 on\n"));
    const ProcessResult result =
        runProgram({"results", great.name, "--object", "M1000", "--column", "Pave_P1000", "--csv"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("Date,Pave_P1000 (mg/L)\n2021-03-01 01:00:00,0\n2021-03-01 02:00:00,1\n"));
    EXPECT_THAT(result.out, HasSubstr("\n2021-03-06 18:00:00,137\n"));  // behind 2 GiB
    EXPECT_THAT(result.out, EndsWith("\n2021-03-13 12:00:00,299\n"));   // behind 4 GiB
}

TEST(ResultsBeyondFourGigabytes, AreReadUpToTheCut) {
    const GreatFile great;
    if (!great.make()) {
        GTEST_SKIP() << "no file of this size can be made here";
    }
    std::filesystem::resize_file(great.name, std::filesystem::file_size(great.name) - (uint64_t{1} << 32));
    const ProcessResult result = runProgram({"results", great.name});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.err, HasSubstr("has no closing block"));
}
