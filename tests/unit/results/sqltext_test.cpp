#include "results/sqltext.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

// --- numbers -------------------------------------------------------------------------------------------------------

static std::string getNumber(float value) {
    std::string text;
    sqltext_appendNumber(text, value);
    return text;
}

static std::string print(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    return text;
}

TEST(SqlNumber, HasSixDecimals) {
    EXPECT_EQ(getNumber(0.0f), "0.000000");
    EXPECT_EQ(getNumber(0.5f), "0.500000");
    EXPECT_EQ(getNumber(-12.25f), "-12.250000");
    EXPECT_EQ(getNumber(16777216.0f), "16777216.000000");
    EXPECT_EQ(getNumber(1.0e-9f), "0.000000");
}

TEST(SqlNumber, KeepsTheSignOfAZero) {
    EXPECT_EQ(getNumber(-0.0f), "-0.000000");
    EXPECT_EQ(getNumber(-1.0e-9f), "-0.000000");
}

TEST(SqlNumber, RoundsATieToEven) {
    EXPECT_EQ(getNumber(std::ldexp(1.0f, -7)), "0.007812");         // 0.0078125
    EXPECT_EQ(getNumber(3.0f * std::ldexp(1.0f, -7)), "0.023438");  // 0.0234375
}

TEST(SqlNumber, SpellsWhatIsNoNumber) {
    EXPECT_EQ(getNumber(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(getNumber(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(getNumber(std::bit_cast<float>(0x7FC00000u)), "nan");
    EXPECT_EQ(getNumber(std::bit_cast<float>(0xFFC00000u)), "-nan");
}

TEST(SqlNumber, IsWhatPrintfGives) {
    for (uint32_t exponent = 0; exponent < 256; ++exponent) {
        for (const uint32_t fraction : {0u, 1u, 0x400000u, 0x2AAAAAu, 0x555555u, 0x7FFFFEu, 0x7FFFFFu}) {
            const float value = std::bit_cast<float>((exponent << 23) | fraction);
            ASSERT_EQ(getNumber(value), print(value));
            ASSERT_EQ(getNumber(-value), print(-value));
        }
    }
    std::mt19937 random(7);
    for (int k = 0; k < 200000; ++k) {
        const float value = std::bit_cast<float>(static_cast<uint32_t>(random()));
        ASSERT_EQ(getNumber(value), print(value));
        const float plain = static_cast<float>(random()) / 16777216.0f - 128.0f;
        ASSERT_EQ(getNumber(plain), print(plain));
    }
}

// --- names ---------------------------------------------------------------------------------------------------------

TEST(SqlName, IsALiteralIfItsApostrophesArePairs) {
    EXPECT_TRUE(sqltext_isLiteral("P1"));
    EXPECT_TRUE(sqltext_isLiteral(""));
    EXPECT_TRUE(sqltext_isLiteral("O''Brien"));
    EXPECT_TRUE(sqltext_isLiteral("''"));
    EXPECT_TRUE(sqltext_isLiteral("a''''b"));
    EXPECT_TRUE(sqltext_isLiteral("a;--/*\"b"));
    EXPECT_FALSE(sqltext_isLiteral("O'Brien"));
    EXPECT_FALSE(sqltext_isLiteral("'"));
    EXPECT_FALSE(sqltext_isLiteral("a'''b"));
    EXPECT_FALSE(sqltext_isLiteral("'a'"));
}

TEST(SqlName, IsAColumnIfItOpensNothing) {
    for (const char* name : {"TSS", "NH4_N", "a b", "1st", "select", "\xE9", "a;b", "!~", "conflict", "on"}) {
        EXPECT_TRUE(sqltext_isColumn(name)) << name;
    }
    for (const char* name :
         {"a'b", "a\"b", "a`b", "a(b", "a)b", "[a", "a]", "a,b", "a/*b", "a*/b", "a--b", "{a", "a}"}) {
        EXPECT_FALSE(sqltext_isColumn(name)) << name;
    }
}

TEST(SqlName, IsNoColumnIfItTellsWhatToDoWithRowsThatClash) {
    // SQLite takes a form feed for a blank, too.
    EXPECT_FALSE(sqltext_isColumn("x\fINT\fUNIQUE\fON\fCONFLICT\fROLLBACK\fCONSTRAINT"));
    EXPECT_FALSE(sqltext_isColumn("x primary key on conflict replace"));
    EXPECT_TRUE(sqltext_isColumn("x unique"));
}

// --- statements ----------------------------------------------------------------------------------------------------

TEST(SqlWords, AreFoundOutsideOfLiteralsAlone) {
    EXPECT_TRUE(sqltext_hasWord("insert (With c as (select 1))", "with"));
    EXPECT_TRUE(sqltext_hasWord("WITH", "with"));
    EXPECT_FALSE(sqltext_hasWord("insert 'with' /* with */ \"with\"", "with"));
    EXPECT_FALSE(sqltext_hasWord("within outwith with_", "with"));
    EXPECT_FALSE(sqltext_hasWord("", "with"));
    EXPECT_EQ(sqltext_countWords("select (Select 'select') from selects", "select"), 2);
}

TEST(SqlStatements, EndWithASemicolon) {
    EXPECT_EQ(sqltext_countEnds("select 1"), 0);
    EXPECT_EQ(sqltext_countEnds("drop table a;create table a (b INT);"), 2);
}

TEST(SqlStatements, DontEndWithinOtherTokens) {
    EXPECT_EQ(sqltext_countEnds("select ';' || 'it''s;'"), 0);
    EXPECT_EQ(sqltext_countEnds("select \";\"\";\", `;`, [;]"), 0);
    EXPECT_EQ(sqltext_countEnds("select 1 /* ; */ -- ;\n + 1;"), 1);
    EXPECT_EQ(sqltext_countEnds("select $a(;) + @b(';) + #1::c(;)"), 0);
}

TEST(SqlStatements, EndAgainBehindOtherTokens) {
    EXPECT_EQ(sqltext_countEnds("select a$b(';'); select ':' ;"), 2);
    EXPECT_EQ(sqltext_countEnds("select 1 /*/ ; */ ;"), 1);
    EXPECT_EQ(sqltext_countEnds("select $(;)"), 1);  // a variable without a name has no suffix
    EXPECT_EQ(sqltext_countEnds("select '' ; ''"), 1);
}

namespace {

/// What SQLite makes of texts with random names, full of the marks that matter.
struct SqlGuard : testing::Test {
    sqlite3* db = nullptr;
    std::mt19937 random{20210301};

    void SetUp() override {
        sqlite3_open(":memory:", &db);
        sqlite3_exec(db, "create table T (Name TEXT,Period INT,A FLOAT)", nullptr, nullptr, nullptr);
    }
    void TearDown() override { sqlite3_close(db); }

    std::string makeName() {
        static constexpr const char* PIECES[] = {
            "'",  "'",        "''", "\"", "`", "[",  "]",  "(", ")", ";", ";", ",",  "--",
            "/*", "*/",       "$",  "@",  "#", ":",  "::", "a", "x", "1", " ", "\n", "\xEF\xBB\xBF",
            "||", "select 1", "?",  "0x", ".", "e+", "-",  "/"};
        std::string name;
        const size_t count = 1 + random() % 12;
        for (size_t k = 0; k < count; ++k) {
            name += PIECES[random() % std::size(PIECES)];
        }
        return name;
    }

    /// Whether the whole text is one statement, or none that compiles.
    bool isSingle(const std::string& text) {
        sqlite3_stmt* statement = nullptr;
        const char* tail = nullptr;
        const int result = sqlite3_prepare_v2(db, text.c_str(), -1, &statement, &tail);
        sqlite3_finalize(statement);
        return result != SQLITE_OK || *tail == 0;
    }
};

}  // namespace

TEST_F(SqlGuard, NoTextWithoutASemicolonHoldsASecondStatement) {
    int compiled = 0;
    for (int k = 0; k < 300000; ++k) {
        const std::string text = "explain insert into T values ('" + makeName() + "',1,0.5)";
        if (sqltext_countEnds(text.c_str()) == 0) {
            ASSERT_TRUE(isSingle(text)) << text;
            ++compiled;
        }
    }
    EXPECT_GT(compiled, 50000);
}

TEST_F(SqlGuard, ALiteralNameGivesItsOwnRowAndNothingElse) {
    for (int k = 0; k < 20000; ++k) {
        const std::string name = makeName();
        if (!sqltext_isLiteral(name.c_str())) {
            continue;
        }
        const std::string text = "insert into T values ('" + name + "',1,0.5)";
        ASSERT_TRUE(isSingle(text)) << text;
        const int before = sqlite3_total_changes(db);
        ASSERT_EQ(sqlite3_exec(db, text.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << text;
        ASSERT_EQ(sqlite3_total_changes(db) - before, 1) << text;
    }
}

TEST_F(SqlGuard, AColumnNameMakesNoSecondStatement) {
    for (int k = 0; k < 300000; ++k) {
        const std::string name = makeName();
        const std::string text = "explain create table if not exists U (Name TEXT," + name + " FLOAT)";
        if (sqltext_countEnds(text.c_str()) == 0) {
            ASSERT_TRUE(isSingle(text + ';')) << text;
        }
    }
}
