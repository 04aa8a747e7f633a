// Text that goes out: whatever bytes a name has, the reader of messages, JSON, CSV, SVG and of gnuplot's scripts gets
// what is his and nothing else. Foreign readers are asked where there are any.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "characters.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "json.h"

using testing::HasSubstr;

namespace {

constexpr double MARCH = 44256.0;  ///< 1 March 2021, days since 30 December 1899

// --- what is hidden ------------------------------------------------------------------------------------------------

/// A character in UTF-8.
std::string encode(uint32_t character) {
    const auto follow = [&](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        return {static_cast<char>(character)};
    }
    if (character < 0x800) {
        return {static_cast<char>(0xC0 | (character >> 6)), follow(0)};
    }
    if (character < 0x10000) {
        return {static_cast<char>(0xE0 | (character >> 12)), follow(6), follow(0)};
    }
    return {static_cast<char>(0xF0 | (character >> 18)), follow(12), follow(6), follow(0)};
}

/// All that a reader can't see, or that does something to the text around it.
std::vector<uint32_t> listHidden() {
    std::vector<uint32_t> hidden{0x061C, 0x200E, 0x200F, 0x2028, 0x2029, 0xFFFE, 0xFFFF};
    const auto add = [&](uint32_t first, uint32_t last) {
        for (uint32_t character = first; character <= last; ++character) {
            hidden.push_back(character);
        }
    };
    add(0x00, 0x1F);      // C0
    add(0x7F, 0x9F);      // DEL and C1
    add(0x202A, 0x202E);  // embedding and override
    add(0x2066, 0x2069);  // isolates
    return hidden;
}

}  // namespace

TEST(Characters, WhatIsHiddenIsAQuestionMarkInMessagesAndANumberInJson) {
    for (const uint32_t character : listHidden()) {
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
        EXPECT_EQ(characters_makePrintable("a" + encode(character) + "b"), "a?b") << escape;
        EXPECT_EQ(json_quote("a" + encode(character) + "b"), std::string("\"a") + escape + "b\"");
    }
    EXPECT_EQ(characters_makePrintable("a\tb\x1B", true), "a\tb?");
    EXPECT_EQ(characters_makePrintableLines("a\tb\nc\r\n"), "a?b\nc?\n");
}

TEST(Characters, AllOthersAreShownAsTheyAre) {
    const std::vector<uint32_t> hidden = listHidden();
    for (uint32_t character = 0; character < 0x110000; ++character) {
        const bool isNone = character >= 0xD800 && character < 0xE000;
        if (!isNone && std::find(hidden.begin(), hidden.end(), character) == hidden.end()) {
            const std::string text = encode(character);
            ASSERT_EQ(characters_measure(text, 0), text.size()) << character;
            ASSERT_EQ(characters_decode(text, 0, text.size()), character);
            ASSERT_EQ(characters_makePrintable(text), text) << character;
        }
    }
}

TEST(Characters, EachByteThatIsNoUtf8IsAQuestionMark) {
    EXPECT_EQ(characters_makePrintable("a\xFF"
                                       "b\xE4"),
              "a?b?");
    EXPECT_EQ(characters_makePrintable("\xC0\xAF"), "??") << "overlong";
    EXPECT_EQ(characters_makePrintable("\xED\xA0\x80"), "???") << "a surrogate";
    EXPECT_EQ(characters_makePrintable("\xE2\x80"), "??") << "cut short";
}

TEST(Characters, ThatAreCutAreAQuestionMarkForEachOfTheirBytes) {
    // The first bytes of U+1F600 and U+20AC, with something else where the rest of them should stand.
    for (const char* text : {"\xF0", "\xF0\x9F", "\xF0\x9F\x98", "\xE2", "\xE2\x82", "\xC3"}) {
        const std::string marks(std::string(text).size(), '?');
        EXPECT_EQ(characters_makePrintable(text, false), marks);
        EXPECT_EQ(characters_makePrintable(std::string(text) + "ab", false), marks + "ab");
    }
}

TEST(Characters, ACellIsNoFormulaAndNoMoreThanACell) {
    for (const char* name : {"=1+1", "+1", "-1", "@SUM(A1)", "=cmd|' /C calc'!A0"}) {
        EXPECT_EQ(characters_quoteCsv(name), std::string("'") + name);
    }
    EXPECT_EQ(characters_quoteCsv("\t=1"), "'?=1");
    EXPECT_EQ(characters_quoteCsv("\r=1"), "'?=1");
    EXPECT_EQ(characters_quoteCsv("=1,\"2\""), "\"'=1,\"\"2\"\"\"");
    EXPECT_EQ(characters_quoteCsv("a\nb"), "a?b") << "a row is a line";
    EXPECT_EQ(characters_quoteCsv("J-1=2"), "J-1=2") << "only in front";
    EXPECT_EQ(characters_quoteCsv(""), "");
}

TEST(Characters, TextOfXmlIsNoMark) {
    EXPECT_EQ(characters_escapeXml("]]><a b='c\"'/>&amp;\x01"), "]]&gt;&lt;a b='c\"'/&gt;&amp;amp;?");
}

TEST(Characters, ALiteralOfGnuplotEndsWhereItShould) {
    // The numbers are those of ASCII, in octal.
    EXPECT_EQ(characters_quoteGnuplot("it's `x` $(y)"), "\"it\\0047s \\140x\\140 \\0044(y)\"");
    EXPECT_EQ(characters_quoteGnuplot("@z \\ \"1\"\nplot"), "\"\\100z \\134 \\00421\\0042\\0077plot\"");
    EXPECT_EQ(characters_quoteGnuplot("J_1 \xC3\xA4 (m3/s)"), "\"J_1 \xC3\xA4 (m3/s)\"");
}

TEST(Characters, ALongTextIsCutBetweenTwoOfThem) {
    EXPECT_EQ(characters_shorten("\xC3\xA4\xC3\xB6\xC3\xBC", 3), "\xC3\xA4\xC3\xB6\xC3\xBC");
    EXPECT_EQ(characters_shorten("\xC3\xA4\xC3\xB6\xC3\xBC", 2), "\xC3\xA4\xC3\xB6...");
    EXPECT_EQ(characters_shorten("\xFF\xFF\xFF", 1), "\xFF...");
}

// --- through the commands ------------------------------------------------------------------------------------------

namespace {

/// Reads each file named behind the kind strictly, and says how many it has read.
constexpr const char* READER = R"(
import csv, io, json, sys, xml.dom.minidom
HIDDEN = set(map(chr, [*range(32), *range(0x7F, 0xA0), 0x61C, 0x200E, 0x200F, *range(0x2028, 0x202F),
                       *range(0x2066, 0x206A), 0xFFFE, 0xFFFF]))
def refuse(constant):
    raise ValueError(constant)
def isNumber(cell):
    try:
        float(cell)
        return True
    except ValueError:
        return False
def read(kind, data):
    text = data.decode('utf-8', 'strict')
    assert not (set(text) - {'\n', '\t'}) & HIDDEN, 'hidden characters'
    if kind == 'json':
        json.loads(text, parse_constant=refuse)
    elif kind == 'csv':
        rows = list(csv.reader(io.StringIO(text, newline=''), strict=True))
        assert len({len(row) for row in rows}) == 1, 'rows of different lengths'
        assert len(rows) == text.count('\n'), 'a row of several lines'
        for row in rows:
            for cell in row:
                assert not cell or cell[0] not in '=+@' and (cell[0] != '-' or cell == '-' or isNumber(cell)), cell
    elif kind == 'svg':
        xml.dom.minidom.parseString(data)
for name in sys.argv[2:]:
    read(sys.argv[1], open(name, 'rb').read())
print('read', len(sys.argv) - 2)
)";

/// What a reader says of output that a test keeps in files of a folder.
struct ForeignReader {
    TempFolder folder;
    std::vector<std::string> files{};

    static bool isThere() { return process_run({"python3", "-c", "import csv, json, xml.dom.minidom"}).status == 0; }
    void add(const std::string& text) { files.push_back(folder.write(std::to_string(files.size()), text)); }
    void expectAll(const std::string& kind) {
        std::vector<std::string> arguments{"python3", "-c", READER, kind};
        arguments.insert(arguments.end(), files.begin(), files.end());
        const ProcessResult result = process_run(arguments);
        EXPECT_EQ(result.out, "read " + std::to_string(files.size()) + "\n") << result.err;
        files.clear();
    }
};

/// Names that mean something to one reader or another, and names of all bytes.
std::vector<std::string> listNames() {
    std::vector<std::string> names{"]]>",
                                   "<![CDATA[x]]>",
                                   "--><!--",
                                   "</text><script>alert(1)</script>",
                                   "&lt;&#0;&x;",
                                   "it's",
                                   "''",
                                   "'1'2'",
                                   "a'; system('touch ran'); set title '",
                                   "\"; system('touch ran') #",
                                   "`touch ran`",
                                   "$(touch ran)",
                                   "@GPVAL_VERSION",
                                   "a\nset output 'ran'\nplot x",
                                   "back\\",
                                   "a_b^c{/Symbol d}&{e}~f{.8-}",
                                   "%g %s %n",
                                   "=1+1",
                                   "-2+3",
                                   "+1",
                                   "@SUM(A1)",
                                   "\t=1",
                                   "\r=1",
                                   "a,b\"c",
                                   "\xED\xA0\x80\xED\xB0\x80",
                                   "\xC0\xAF\xE0\x80\xAF\xF4\x90\x80\x80",
                                   "\xE2\x80\xAEworld",
                                   "NaN",
                                   "inf",
                                   std::string(3000, 'x')};
    std::string hidden;
    for (const uint32_t character : listHidden()) {
        hidden += character == 0 ? "" : "a" + encode(character) + "b";
    }
    names.push_back(hidden);
    for (int first = 1; first < 256; first += 32) {
        std::string name;
        for (int byte = first; byte < std::min(first + 32, 256); ++byte) {
            name += static_cast<char>(byte);
        }
        names.push_back(name);
    }
    return names;
}

std::string toHex(const std::string& text) {
    std::string hex;
    for (const char c : text) {
        static const char* const FIGURES = "0123456789ABCDEF";
        hex += FIGURES[static_cast<unsigned char>(c) >> 4];
        hex += FIGURES[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

/// Texts for which there is another program to read them.
struct TextForOthers : testing::Test {
    TempFolder folder;

    void SetUp() override {
        if (!ForeignReader::isThere()) {
            GTEST_SKIP() << "no python3 to read with";
        }
    }
};

}  // namespace

TEST_F(TextForOthers, NamesOfAnyBytesInResultsAreReadByOthers) {
    ForeignReader json, csv;
    for (const std::string& name : listNames()) {
        const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 3, name));
        for (const std::vector<std::string>& choice :
             {std::vector<std::string>{}, {"--summary"}, {"--table", "Junction"}}) {
            std::vector<std::string> arguments{"results", file};
            arguments.insert(arguments.end(), choice.begin(), choice.end());
            arguments.emplace_back("--json");
            json.add(runProgram(arguments).out);
            arguments.back() = "--csv";
            csv.add(runProgram(arguments).out);
        }
    }
    json.expectAll("json");
    csv.expectAll("csv");
}

TEST_F(Results, NamesOfAnyBytesInADatabaseAreReadByOthers) {
    if (!ForeignReader::isThere()) {
        GTEST_SKIP() << "no python3 to read with";
    }
    ForeignReader json, csv, messages;
    for (const std::string& name : listNames()) {
        const std::string change = "update Junction set Name = cast(x'" + toHex(name + std::string("\0z", 2)) +
                                   "' as text); update Outfall set TotInflow = 1e300 where Period = 2; "
                                   "update Outfall set TotInflow = -9e999 where Period = 3";
        ASSERT_EQ(process_run({"sqlite3", database, change}).status, 0);
        json.add(runProgram({"results", database, "--json"}).out);
        json.add(runProgram({"results", database, "--json", "--summary"}).out);
        csv.add(runProgram({"results", database, "--csv"}).out);
        csv.add(runProgram({"results", database, "--csv", "--summary"}).out);
        messages.add(runProgram({"results", database}).out);
        messages.add(runProgram({"results", database, "--table", "Junction"}).out);
        messages.add(runProgram({"results", database, "--object=" + name}).err);
    }
    json.expectAll("json");
    csv.expectAll("csv");
    messages.expectAll("text");
}

TEST_F(TextForOthers, NamesOfAnyBytesInAProjectAreReadByOthers) {
    ForeignReader json, messages;
    for (const std::string& name : listNames()) {
        std::string text = GOOD_PROJECT;
        for (size_t at = text.find("J1"); at != std::string::npos; at = text.find("J1", at + name.size())) {
            text.replace(at, 2, name);
        }
        for (const char* words : {"[CONNECTIONS]\nC1 ", " X", " NO\n"}) {
            text += words;
            text += words[1] == 'N' ? "" : name;
        }
        const std::string model = folder.write("model.inp", text);
        for (const char* command : {"check", "run"}) {
            messages.add(runProgram({command, model}).err);
            const ProcessResult result = runProgram({command, model, "--json"});
            json.add(result.out);
            messages.add(result.err);
        }
    }
    json.expectAll("json");
    messages.expectAll("text");
}

TEST_F(TextForOthers, NamesOfAnyBytesOnTheCommandLineAreReadByOthers) {
    const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 3));
    ForeignReader messages;
    for (const std::string& name : listNames()) {
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{name},
              {"--" + name},
              {"run", "a.inp", "--until", name},
              {"run", name},
              {"check", folder.file("none"), "--engines", name},
              {"explain", name},
              {"results", name},
              {"results", file, "--object", name},
              {"results", file, "--table", name},
              {"results", file, "--column", name, "--csv"},
              {"results", file, "--csv", "--from", name},
              {"run", "a.inp", "--threads", name},
              {"plot", file, "--object", "J1", "--column", "Depth", "-o", name},
              {"plot", file, "--object", name, "--column", "TotInflow", "-o", folder.file("a.svg")},
              {"plot", file, "--object", "J1", "--column", name, "-o", folder.file("a.svg")}}) {
            messages.add(runProgram(arguments).err);
        }
    }
    messages.expectAll("text");
}

TEST_F(TextForOthers, NamesOfAnyBytesMakeAPictureAndNothingElse) {
    const TempFolder work;
    ForeignReader svg;
    for (const std::string& name : listNames()) {
        // The folder of gnuplot is below this one, and would hold what a name has run.
        const std::string file = folder.write("a.bin", makeResults(MARCH, 900, 3, name));
        std::filesystem::remove(folder.file("a.svg"));
        const ProcessResult result =
            process_run({"env", "TMPDIR=" + work.path.string(), TARNVELDE_PROGRAM, "plot", file,
                         "--object=" + characters_toUtf8(name), "--column", "TotInflow", "-o", folder.file("a.svg")});
        ASSERT_EQ(result.status, 0) << name << ": " << result.err;
        const std::string picture = readFile(folder.file("a.svg"));
        EXPECT_THAT(picture, HasSubstr("<title id=\"title\">TotInflow (m3/s) of " +
                                       characters_escapeXml(characters_toUtf8(name)) + "</title>"));
        svg.add(picture);
        EXPECT_EQ(countFiles(work.path), 0u) << name;
        EXPECT_EQ(countFiles(folder.path), 2u) << name;
    }
    EXPECT_FALSE(std::filesystem::exists("ran"));
    svg.expectAll("svg");
}
