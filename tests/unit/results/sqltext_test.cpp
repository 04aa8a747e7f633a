#include "results/sqltext.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

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

/// A database in memory with a table as those of results, in which each number stands twice: by the text of its value,
/// and by what is bound in place of it.
struct SqlPairs : testing::Test {
    sqlite3* handle = nullptr;

    void SetUp() override {
        ASSERT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
        run("create table Pairs (Written FLOAT,Bound FLOAT)");
    }

    void TearDown() override { sqlite3_close(handle); }

    void run(const std::string& text) const {
        ASSERT_EQ(sqlite3_exec(handle, text.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << text;
    }

    static void bind(sqlite3_stmt* statement, int place, float value) {
        double number = 0.0;
        if (sqltext_getNumber(value, number)) {
            sqlite3_bind_double(statement, place, number);
        } else {
            const std::string text = getNumber(value);
            sqlite3_bind_text(statement, place, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        }
    }

    /// Writes both, many at a time, for texts take their time.
    void write(const std::vector<float>& values) const {
        std::string text = "insert into Pairs values ";
        for (size_t k = 0; k < values.size(); ++k) {
            text += (k == 0 ? "(" : ",(") + getNumber(values[k]) + ",?)";
        }
        sqlite3_stmt* statement = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(handle, text.c_str(), -1, &statement, nullptr), SQLITE_OK);
        for (size_t k = 0; k < values.size(); ++k) {
            bind(statement, static_cast<int>(k) + 1, values[k]);
        }
        EXPECT_EQ(sqlite3_step(statement), SQLITE_DONE);
        sqlite3_finalize(statement);
    }

    /// Whether all pairs are the same in kind and bits; forgets them.
    void expectPairs(size_t count) const {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(handle, "select Written,Bound from Pairs", -1, &statement, nullptr);
        size_t pairs = 0;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            ++pairs;
            ASSERT_EQ(sqlite3_column_type(statement, 0), SQLITE_FLOAT);
            ASSERT_EQ(sqlite3_column_type(statement, 1), SQLITE_FLOAT);
            const double written = sqlite3_column_double(statement, 0), bound = sqlite3_column_double(statement, 1);
            ASSERT_EQ(std::bit_cast<uint64_t>(written), std::bit_cast<uint64_t>(bound)) << written;
        }
        sqlite3_finalize(statement);
        EXPECT_EQ(pairs, count);
        run("delete from Pairs");
    }
};

TEST_F(SqlPairs, AreTheSameForValuesOfEverySize) {
    std::vector<float> values;
    for (uint32_t exponent = 0; exponent < 255; ++exponent) {
        for (const uint32_t fraction : {0u, 1u, 0x400000u, 0x2AAAAAu, 0x555555u, 0x7FFFFEu, 0x7FFFFFu}) {
            const float value = std::bit_cast<float>((exponent << 23) | fraction);
            values.insert(values.end(), {value, -value});
        }
    }
    write(values);
    expectPairs(values.size());
}

TEST_F(SqlPairs, AreTheSameForRandomValues) {
    std::mt19937 random(20040229);
    for (int round = 0; round < 400; ++round) {
        std::vector<float> values;
        while (values.size() < 1000) {
            const float plain = static_cast<float>(random()) * std::ldexp(1.0f, -24 - static_cast<int>(random() % 24));
            const float any = std::bit_cast<float>(static_cast<uint32_t>(random()));
            values.push_back(random() % 2 == 0 || !std::isfinite(any) ? plain : any);
        }
        write(values);
        expectPairs(values.size());
    }
}

TEST(SqlNumber, IsTheDoubleNextToItsText) {
    std::mt19937 random(11);
    int known = 0;
    for (int k = 0; k < 200000; ++k) {
        const float value = static_cast<float>(random()) * std::ldexp(1.0f, -16 - static_cast<int>(random() % 24));
        double number = 0.0;
        if (sqltext_getNumber(value, number)) {
            ++known;
            ASSERT_EQ(number, std::strtod(getNumber(value).c_str(), nullptr)) << getNumber(value);
        }
    }
    EXPECT_GT(known, 180000);  // few are left aside
}

TEST(SqlNumber, LeavesToTheTextWhatIsNoPlainNumber) {
    double number = 0.0;
    for (const float value : {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), 1e10f,
                              std::numeric_limits<float>::max(), -1e30f}) {
        EXPECT_FALSE(sqltext_getNumber(value, number)) << value;
    }
    EXPECT_TRUE(sqltext_getNumber(-0.0f, number));
    EXPECT_TRUE(std::signbit(number));
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
