// Sound projects written in odd ways, and towns with their words mixed up.

#include <sstream>

#include "host.h"
#include "text.h"
#include "town.h"

namespace {

constexpr const char* ODD =
    "Text ahead of any section   \r\n\t with blanks // and slashes\r\n[description] rest\r\nMore % text %s %n\r\n"
    "// a comment\r\n/not this\r\n\r\n[GENERAL]\nSTART_DATE 2024-MAY-06x\nstart_time 0.5\nEND_DATE 2024/5/6\n"
    "END_TIME 4:30:00\nROUTING_STEP 0:01\nRUNOFF_STEP -23.95\nREPORT_STEP 0:01:00.4\nREPORT_AVERAGE no\nRTC_ON YES\n"
    "START_DRY_DAYS 0x2\nEVENT_MIN_VALUE\nEVENT_INTERVAL 3m 2\n[MAP]\nanything goes \"here\n1 2 3\n[junctions] x\n"
    "J1 some notes\nj2//\tx\n[OUTFALLS]\n;;Name\nO//\n[Pipes]\nP1 j1 J2 no 120 2.9 .2 0 // end\n"
    "P2 J2 o No \"300\" 1e0 0.25 \"\" a b c\n[OUTFALLS]\nO\n[CONNECTIONS]\n[POLLUTANTS]\nA 1 2 3\n\"B\" 0\n"
    "[DWFS]\nJ1 FLOW 3e-2 \"\"\nJ1 A 1\xC2\xA0 H\nJ2 FLOW 0.01 H extra\nj2 a 5 \"\"\n[PATTERNS]\nH HOURLY 1 2\nH 3 4\n"
    "[INFLOWS]\nJ1 FLOW FLOW 0 S 1\nJ1 CONCEN A 0 S 3\nJ1 MASS A 0.001 \"\" 0\nJ1 MASS A 0.002 S 0.001\nJ2 CONCEN A 3 "
    "\"\" 0\n"
    "J2 FLOW FLOW -0.005 \"\" 1\n[TIMESERIES]\nS 0:00 0.01 1:00 0.03\nS 2024/05/06 2:00 0.02 3:00\nS 4:00 0.04 30:00 "
    "0\n"
    "[DECAY_COEFFICIENT]\nP1 LINK A FIRST 9 H\nP1 LINK A FIRST -5x \"\"\nP2 LINK A FIRST word H\n";

std::string makeOdd() {
    std::string text = ODD;
    const auto drop = [&](const std::string& piece) { text.erase(text.find(piece), piece.size()); };
    for (const char* piece :
         {"EVENT_INTERVAL 3m 2\n", "\"B\" 0\n", "[OUTFALLS]\n;;Name\nO//\n", "P1 LINK A FIRST -5x \"\"\n"}) {
        drop(piece);
    }
    text.replace(text.find("j2//\tx"), 6, "j2 //\tx");
    return text;
}

std::string makeLongLines() {
    std::string text = "[DESCRIPTION]\n" + std::string(1500, 'x') + "\n";
    for (int k = 0; k < 12; ++k) {
        text += "line " + std::to_string(k) + "\n";
    }
    text += "[GENERAL]\n" + general({120, 60, 60, 60, false, 0}) +
            "[JUNCTIONS]\nA_junction_whose_name_is_longer_than_any_column_of_the_report\nB-1\n[OUTFALLS]\nO'"
            "Neill\n\xC3\x96st\xE9\n"
            "[PIPES]\nP-1 A_junction_whose_name_is_longer_than_any_column_of_the_report B-1 NO 120 1 0.2 0\n"
            "P/2 B-1 O'Neill NO 60 1 0.2 0\n[POLLUTANTS]\nNH4-N 0\nNH4_N 0\n[DWFS]\n"
            "a_JUNCTION_whose_name_is_longer_than_any_column_of_the_report FLOW 0.02 \"\"\n"
            "A_JUNCTION_whose_name_is_longer_than_any_column_of_the_report NH4-N 30 P\n[PATTERNS]\nP HOURLY";
    for (int k = 0; k < 60; ++k) {
        text += " 1." + std::to_string(k % 9);
    }
    return text + "\n\x1A[NOTHING]\n";
}

std::string makeSeriesFile() {
    return "[GENERAL]\n" + general({180, 60, 60, 60, false, 0}) +
           "[JUNCTIONS]\nA\nB\n[OUTFALLS]\nO\n[PIPES]\nPA A O NO 120 1 0.2 0\nPB B O NO 60 2 0.1 0\n[POLLUTANTS]\nQ 0\n"
           "[INFLOWS]\nA FLOW FLOW 0 M 1\nA CONCEN Q 0 N 2\nB FLOW FLOW 0.01 I 1\nB MASS Q 0 N 0.0001\n[TIMESERIES]\n"
           "M FILE meter.dat\nM 2024/05/06 0:00 9\nN FILE \"noise.dat\"\nI 2024/05/06 0:00 1 0:10 5 0:30 2 0:50 7\n";
}

/// Words of some lines changed, left out or doubled; the options stay, so that the run stays short.
std::string mixUp(const std::string& text, uint64_t seed, int rate) {
    const char* const words[] = {"-1",    "x",    "0",   "1e5",  "\"\"", "OUT0", "J0",   "//",  "YES", "NO",
                                 "FIRST", "FLOW", "2.5", "RULE", "IF",   "AND",  "THEN", "1,5", "Q0",  "L1"};
    Random random(seed);
    std::istringstream lines(text);
    Text whole;
    std::string section;
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '[') {
            section = line;
        }
        if (section == "[GENERAL]" || line[0] == '[' || !random.isOneOf(rate)) {
            whole << line << "\n";
            continue;
        }
        std::istringstream stream(line);
        for (std::string word; stream >> word;) {
            switch (random.pick(10)) {
                case 0: whole << words[random.pick(20)] << " "; break;
                case 1: break;
                case 2: whole << word << " " << word << " "; break;
                default: whole << word << " "; break;
            }
        }
        whole << "\n";
    }
    return whole.text;
}

}  // namespace

void cases_addReading(std::vector<Case>& cases) {
    cases_add(cases, "reading-odd-forms", makeOdd());
    cases_add(cases, "reading-odd-forms-refused", ODD, script_tryOut);
    cases_add(cases, "reading-long-lines", makeLongLines());
    cases.push_back(
        {"reading-series-files",
         {{"model.inp", makeSeriesFile()},
          {"meter.dat",
           "; level\n2024/05/05 22:00 0\n2024/05/05 23:00 0.01 ok\n2024/05/06 0:10 0.03\n2024/05/06 1.5 0.08\n"
           "2024/05/06 2:00 0.02\n2024/05/06 9:00 0.02\n"},
          {"noise.dat", "2024/05/05 22:00 4\r\n2024/05/06 0:20 9\r\n2024/05/06 1:00 1\r\n2024/05/06 4:00 7\r\n"}},
         script_runBoth});
    Town town;
    town.stages = 9;
    town.subcatchs = 2;
    town.times.steps = 60;
    for (int k = 0; k < 6; ++k) {
        town.seed = 400 + static_cast<uint64_t>(k);
        cases_add(cases, name("mixed-up-", k), mixUp(town_make(town), town.seed, k < 3 ? 4 : 40), script_tryOut);
    }
    // One changed line in each: some of them are still good, or fail in the checks of the whole.
    for (int k = 0; k < 6; ++k) {
        town.seed = 410 + static_cast<uint64_t>(k);
        cases_add(cases, name("nearly-good-", k), mixUp(town_make(town), town.seed, 90), script_tryOut);
    }
}
