// The page of a run: `tarnvelde report`. Pages are read by a program of their own (pagereader.py), which knows JSON and
// base64 from elsewhere.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/resultsfixture.h"
#include "host/runningprogram.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* FRAME =
    "<!doctype html><html><head><meta "
    "charset=\"utf-8\"><title><!--TITLE--></title></head>\n<body><!--DATA--></body></html>\n";

constexpr const char* READER = TARNVELDE_SOURCE_DIR "/tests/host/pagereader.py";

/// The project file of an example.
std::string getExample(const std::string& name) {
    return TARNVELDE_SOURCE_DIR "/examples/" + name + '/' + name + ".inp";
}

struct Page : testing::Test {
    TempFolder folder;
    std::string frame = folder.write("frame", FRAME);
    std::string page = folder.file("page.html");

    static void SetUpTestSuite() {
        isReadable = process_run({"python3", "-c", "import json, base64, array"}).status == 0;
    }
    void SetUp() override {
        if (!isReadable) {
            GTEST_SKIP() << "no python3 to read with";
        }
    }
    ProcessResult report(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "report");
        arguments.insert(arguments.end(), {"--template", frame, "-o", page});
        return runProgram(arguments);
    }
    void write(const std::vector<std::string>& arguments, int status = 0) const {
        const ProcessResult result = report(arguments);
        ASSERT_EQ(result.status, status) << result.err;
    }
    /// The value of an expression of Python about the page.
    std::string ask(const std::string& expression) const {
        const ProcessResult result = process_run({"python3", READER, page, expression});
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out.empty() ? "" : result.out.substr(0, result.out.size() - 1);
    }

    static inline bool isReadable = false;
};

/// An example, and how many tables of its report a page has: those of docs/report.md that it must have, but the list of
/// rain events.
struct Example {
    const char* name;
    int tables;
};

struct PageOfExample : Page, testing::WithParamInterface<Example> {};

/// The model of the results without its second link.
std::string makeModel() {
    std::string text = MODEL;
    text.erase(text.find("J1 J1 O'1"), std::string("J1 J1 O'1 NO 0\n").size());
    return text;
}

/// A minute's steps and reports, whose inflow is 0.1 for two hours but for one minute of 0.9 m3/s.
std::string makePeak(const std::string& steps) {
    return "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 02:00\n" + steps +
           "[JUNCTIONS]\nJ1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 O1 NO 0\n[INFLOWS]\nJ1 FLOW FLOW 0.1 PEAK 1\n"
           "[TIMESERIES]\nPEAK 2023/12/31 0:00 0\nPEAK 2024/01/01 0:29 0 0:30 0.8 0:31 0\nPEAK 2024/01/02 0:00 0\n";
}

constexpr const char* MINUTES = "ROUTING_STEP 0:01:00\nREPORT_STEP 0:01:00\nREPORT_AVERAGE NO\n";

}  // namespace

// --- what it shows -------------------------------------------------------------------------------------------------

TEST_P(PageOfExample, ItsTablesHaveTheNumbersOfTheReport) {
    const std::string text = folder.file("run.rpt");
    ASSERT_EQ(runProgram({"run", getExample(GetParam().name), "--quiet", "--report", text, "--results",
                          folder.file("run.bin")})
                  .status,
              0);
    write({getExample(GetParam().name)});
    const ProcessResult result = process_run({"python3", READER, page, "--report", text});
    EXPECT_THAT(result.out, Not(HasSubstr("differs"))) << result.err;
    EXPECT_THAT(result.out, HasSubstr("tables: " + std::to_string(GetParam().tables) + "\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("same: 0\n")));
}

INSTANTIATE_TEST_SUITE_P(Examples, PageOfExample,
                         testing::Values(Example{"storm-tank", 9}, Example{"green-street", 13},
                                         Example{"first-storm", 9}, Example{"interceptor", 7},
                                         Example{"wetland-control", 12}),
                         [](const auto& example) {
                             std::string name = example.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST_F(Page, SeriesAreTheRowsOfTheRun) {
    const std::string model = folder.write("model.inp", makeModel());
    write({model});
    // 0.5 m3/s come in from the first step on, and leave two minutes later.
    EXPECT_EQ(ask("series('Junction', 'J1', 'TotInflow')"), "[0.5, 0.5, 0.5, 0.5]");
    EXPECT_EQ(ask("series('Connection', 'C1', 'Outflow')[0], series('Connection', 'C1', 'Outflow')[3] > 0"),
              "(0.0, True)");
    EXPECT_EQ(ask("run['times']"), "{'start': 1614556860, 'step': 60, 'count': 4}");
    EXPECT_EQ(ask("run['start'], run['end'] - run['start'] >= 240"), "(1614556800, True)");
    EXPECT_EQ(ask("[o['id'] for o in run['objects']]"), "['System', 'J1', \"O'1\", 'C1']");
    EXPECT_EQ(ask("[run['objects'][n['series']]['table'] for n in run['network']['nodes']]"),
              "['Junction', 'Outfall']");
    EXPECT_EQ(ask("[run['objects'][l['series']]['id'] for l in run['network']['links']]"), "['C1']");
}

TEST_F(Page, PeaksHaveTheTimeOfTheirStep) {
    const std::string model = folder.write("model.inp", makePeak(MINUTES));
    write({model});
    // 2024-01-01 00:30 is 1704069000 s behind 1970.
    EXPECT_EQ(ask("[(r['ID'], round(r['Max. Inflow'], 4), r['at']) for r in table('nodes')]"),
              "[('J1', 0.9, 1704069000), ('O1', 0.9, 1704069000)]");
    EXPECT_EQ(ask("[(r['ID'], round(r['Max. Flow'], 4), r['at']) for r in table('links')]"),
              "[('C1', 0.9, 1704069000)]");
}

TEST_F(Page, EventsAreCountedByGapAndThreshold) {
    const std::string model = folder.write("model.inp", makePeak(MINUTES));
    write({model, "--gap", "0.5", "--threshold", "0.2"});
    const std::string events =
        ask("[(r['Events'], round(r['Volume'], 2), round(r['Peak'], 4)) for r in table('outfall-events')]");
    EXPECT_EQ(events, "[(1, 54.0, 0.9)]");  // a minute of 0.9 m3/s
    EXPECT_EQ(ask("[(r['ID'], r['Begin'], r['End']) for r in table('outfall-event-list')]"),
              "[('O1', 1704068940, 1704069000)]");
    write({model});
    EXPECT_EQ(ask("[(r['Events'], round(r['Volume'], 2)) for r in table('outfall-events')]"),
              "[(1, 768.0)]");  // 119 minutes of 0.1 and one of 0.9 m3/s
}

TEST_F(Page, SettingsThatRulesMovedAreCounted) {
    std::string text = makePeak(MINUTES);
    text.replace(text.find("[CONNECTIONS]\nC1 J1 O1 NO 0\n"), 28, "[PIPES]\nC1 J1 O1 NO 60 1 0.2 0\n");
    text +=
        "[CONTROL_RULES]\nRULE Shut\nIF JUNCTION J1 INFLOW > 0.5\nTHEN PIPE C1 SETTING = 0.25\n"
        "ELSE PIPE C1 SETTING = 1\nPRIORITY 3\n";
    write({folder.write("model.inp", text)});
    // Shut by the step in which the peak comes, and opened again by the next one.
    EXPECT_EQ(ask("[(r['ID'], r['Moves'], r['last'] - r['first'], r['Least'], r['Greatest']) for r in "
                  "table('settings')]"),
              "[('C1', 2, 60, 0.25, 1)]");
    // It looks at what the step before has left: the peak of the step that ends at 0:30 makes it fire at 0:30.
    EXPECT_EQ(
        ask("[(r['ID'], r['Priority'], r['Fired'], r['first'], r['last'], round(r['Fulfilled'] * 60, 9)) for r in "
            "table('rules')]"),
        "[('Shut', 3, 1, 1704069000, 1704069000, 1.0)]");
}

TEST_F(Page, TheVerdictNamesBalancesWithTheirGrade) {
    write({folder.write("model.inp", makeModel())});
    EXPECT_EQ(ask("[(r['name'], r['unit'], r['level']) for r in run['verdict']['rows']]"),
              "[('Water of the network', 'm3', 'green'), ('NH4-N of the network', 'kg', 'green')]");
    EXPECT_EQ(ask("run['verdict']['level']"), "green");
}

TEST_F(Page, TheVerdictIsASentenceAboutTheLargestError) {
    write({getExample("storm-tank")});
    EXPECT_EQ(ask("run['verdict']['text']"), "Every balance closes: the largest error is 0.083 %, TSS of the network.");
    EXPECT_EQ(ask("run['verdict']['level']"), "green");
    // Of two openings at one height below the first one in the file, the flow of one is in no line.
    write({folder.write("bad.inp",
                        "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 02:00\nROUTING_STEP 0:01:00\n"
                        "[JUNCTIONS]\nJ1\n[TANKS]\nT SHAPE 3 1\n[OUTFALLS]\nO1\n[CONNECTIONS]\nC1 J1 T NO 0\n"
                        "[ORIFICES]\nA T O1 NO CIRCULAR 0.6 0.5 0.2\nB T O1 NO CIRCULAR 0.6 0 0.2\n"
                        "C T O1 NO CIRCULAR 0.6 0 0.2\n[CURVES]\nSHAPE TANK 0 200 3 200\n"
                        "[INFLOWS]\nJ1 FLOW FLOW 0.1 \"\" 1\n")});
    EXPECT_EQ(ask("run['verdict']['level']"), "red");
    EXPECT_THAT(ask("run['verdict']['text']"),
                AllOf(StartsWith("The largest error is "), HasSubstr(" %, Water of the network. "), EndsWith(".")));
}

TEST_F(Page, CoordinatesOfTheProjectAreTaken) {
    const std::string own = folder.write("own.inp", GOOD_PROJECT);
    write({own});
    EXPECT_EQ(ask("run['network']['isGiven'], node('J1')['x'] < node('O1')['x']"), "(False, True)");
    const std::string given = folder.write(
        "given.inp", std::string(GOOD_PROJECT) + "[MAP]\nNODE J1 300 20\nNODE O1 100 10\nLINK P1 250 15 200 12\n");
    write({given});
    EXPECT_EQ(ask("run['network']['isGiven'], run['network']['bounds'], run['network']['links'][0]['points']"),
              "(True, [100, 10, 300, 20], [250, 15, 200, 12])");
    EXPECT_EQ(ask("[(n['id'], n['kind'], n['x'], n['y']) for n in run['network']['nodes']]"),
              "[('J1', 'junction', 300, 20), ('O1', 'outfall', 100, 10)]");
}

TEST_F(Page, LinksBetweenTheSameNodesAreSeenApart) {
    write({getExample("storm-tank")});
    // Between LIFT at (565430, 5702180) and BASIN 40 m to the west bends are 4 m apart. Seen from LIFT, the first of
    // the two nodes, the first link lies to the right, which is the north.
    EXPECT_EQ(ask("[(l['id'], l.get('points')) for l in run['network']['links'][:3]]"),
              "[('THROTTLE', [565410, 5702184]), ('PUMP_1', [565410, 5702180]), ('PUMP_2', [565410, 5702176])]");
}

TEST_F(Page, TheDescriptionAndTheTitleAreTheProjects) {
    const std::string model =
        folder.write("town.inp", std::string("A town\n// a comment\n[DESCRIPTION]\nin the hills\n") + GOOD_PROJECT);
    write({model});
    EXPECT_EQ(ask("data['title'], run['name'], run['source'], run['description']"),
              "('town', 'town.inp', 'model', ['A town', 'in the hills'])");
    EXPECT_THAT(readFile(page), HasSubstr("<title>town</title>"));
    write({model, "--title", "A <b> & C"});
    EXPECT_EQ(ask("data['title']"), "A <b> & C");
    EXPECT_THAT(readFile(page), HasSubstr("<title>A &lt;b&gt; &amp; C</title>"));
}

// --- results, and two runs -----------------------------------------------------------------------------------------

struct PageOfResults : Results {
    std::string frame = folder.write("frame", FRAME);
    std::string page = folder.file("page.html");

    std::string ask(const std::string& expression) const {
        const ProcessResult result = process_run({"python3", READER, page, expression});
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out.substr(0, result.out.find_last_not_of('\n') + 1);
    }
    void write(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "report");
        arguments.insert(arguments.end(), {"--template", frame, "-o", page});
        const ProcessResult result = runProgram(arguments);
        ASSERT_EQ(result.status, 0) << result.err;
    }
};

TEST_F(PageOfResults, AllKindsOfFileGiveTheSeriesOfTheRun) {
    const std::string question =
        "[[(o['table'], o['id'], c['name'], c['unit'], [v and round(v, 5) for v in series(o['table'], o['id'], "
        "c['name'])]) for c in o['columns']] for o in run['objects']]";
    write({model});
    const std::string ofModel = ask(question), times = ask("run['times']");
    EXPECT_THAT(ofModel, HasSubstr("('Junction', 'J1', 'TotInflow', 'm3/s', [0.5, 0.5, 0.5, 0.5])"));
    write({binary});
    EXPECT_EQ(ask(question), ofModel);
    EXPECT_EQ(ask("run['times']"), times);
    EXPECT_EQ(ask("run['source'], run['network']['nodes']"), "('results', [])");
    const std::string byObject = folder.file("a.tvo");
    ASSERT_EQ(runProgram({"results", binary, "--by-object", "-o", byObject}).status, 0);
    write({byObject});
    EXPECT_EQ(ask(question), ofModel);
    EXPECT_EQ(ask("run['source']"), "results");
    write({database});  // whose columns of pollutants have low lines for hyphens
    EXPECT_EQ(ask(question + ".__str__().replace('NH4_N', 'NH4-N')"), ofModel);
    EXPECT_EQ(ask("run['times']"), times);
}

TEST_F(PageOfResults, RowsMakePeaksAndVolumes) {
    write({binary});
    EXPECT_EQ(ask("[(r['ID'], r['Peak TotInflow'], r['at'], r['Volume']) for r in table('rows-Junction')]"),
              "[('J1', 0.5, 1614556860, 120)]");  // four minutes of 0.5 m3/s
    EXPECT_EQ(ask("[round(r['NH4-N, flow-weighted mean'], 6) for r in table('rows-Junction')] == [4]"), "True");
}

TEST_F(PageOfResults, AProjectGivesTheNetworkOfResults) {
    write({binary, "--model", model});
    EXPECT_EQ(ask("[n['id'] for n in run['network']['nodes']], [m['key'] for m in run['network']['measures']]"),
              "(['J1', 'O_1'], ['peak', 'volume'])");
    EXPECT_EQ(ask("run['network']['measures'][0]['nodes'][0]"), "0.5");
}

TEST_F(PageOfResults, TwoRunsStandBesideEachOther) {
    std::string text = readFile(model);
    text.replace(text.find("FLOW 0.5"), 8, "FLOW 0.7");
    const std::string other = folder.write("other.inp", text);
    write({model, "--compare", other});
    EXPECT_EQ(ask("[r['name'] for r in runs]"), "['model.inp', 'other.inp']");
    EXPECT_EQ(ask("series('Junction', 'J1', 'TotInflow')[0], round(series('Junction', 'J1', 'TotInflow', 1)[0], 6)"),
              "(0.5, 0.7)");
    write({binary, "--compare", other});
    EXPECT_EQ(ask("[r['source'] for r in runs]"), "['results', 'model']");
}

TEST_F(PageOfResults, TwoFilesOfOneNameAreToldApartByTheirFolders) {
    for (const char* name : {"dry", "wet"}) {
        std::filesystem::create_directory(folder.file(name));
        std::filesystem::copy_file(binary, folder.file(name) + "/model.bin");
    }
    write({folder.file("dry") + "/model.bin", "--compare", folder.file("wet") + "/model.bin"});
    EXPECT_EQ(ask("[r['name'] for r in data['runs']]"), "['dry/model.bin', 'wet/model.bin']");
}

TEST_F(PageOfResults, ADamagedFileGivesNoPage) {
    const std::string cut = folder.write("cut.bin", readFile(binary).substr(0, 100));
    const ProcessResult result = runProgram({"report", cut, "--template", frame, "-o", page});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cut.bin is truncated"));
    EXPECT_FALSE(std::filesystem::exists(page));
}

TEST_F(PageOfResults, AMissingNumberIsAGap) {
    const std::string patched = patch(readFile(binary).size() - 28 - 4, getBytes(NOT_A_NUMBER));
    write({patched});
    EXPECT_EQ(ask("series('Connection', 'C1', 'NH4-N')[3]"), "None");
}

// --- how much ------------------------------------------------------------------------------------------------------

TEST_F(Page, LongSeriesKeepTheirExtremes) {
    std::string text = makePeak("ROUTING_STEP 0:00:01\nREPORT_STEP 0:00:01\nREPORT_AVERAGE NO\n");
    const std::string model = folder.write("model.inp", text), csv = folder.file("rows.csv");
    ASSERT_EQ(
        runProgram({"run", model, "--quiet", "--results", folder.file("run.bin"), "--report", folder.file("run.rpt")})
            .status,
        0);
    folder.write("rows.csv", runProgram({"results", folder.file("run.bin"), "--object", "Junction:J1", "--column",
                                         "TotInflow", "--csv"})
                                 .out);
    write({model});
    EXPECT_EQ(ask("run['times']['count'], entry('Junction', 'J1', 'TotInflow')['thinned'], "
                  "len(series('Junction', 'J1', 'TotInflow'))"),
              "(7200, True, 4000)");
    EXPECT_THAT(ask("run['note']"), HasSubstr("of the 7200 reports"));
    // The rule of the buckets in its own words: bucket i holds reports floor(i * count / n) up to the next one's first.
    const std::string check =
        "(lambda rows, pairs, n: [k for k in range(n) if "
        "[min(rows[k * 7200 // n:(k + 1) * 7200 // n]), max(rows[k * 7200 // n:(k + 1) * 7200 // n])] != "
        "[float('%.6g' % v) for v in pairs[2 * k:2 * k + 2]]])"
        "([float('%.6g' % float(l.rsplit(',', 1)[1])) for l in open('" +
        csv + "').read().strip().split('\\n')[1:]], series('Junction', 'J1', 'TotInflow'), 2000)";
    EXPECT_EQ(ask(check), "[]");
    EXPECT_EQ(ask("round(max(series('Junction', 'J1', 'TotInflow')), 4)"), "0.9");
}

TEST_F(Page, TheLimitOfItsDataHolds) {
    std::string text = GOOD_PROJECT;
    text.replace(text.find("END_TIME 02:00"), 14, "END_TIME 20:00\nREPORT_STEP 0:01:00");
    const std::string model = folder.write("model.inp", text);
    write({model, "--data-limit", "0.05"});  // of 1200 reports and 20 columns: some 128 kB
    EXPECT_EQ(ask("sum(len(e) for e in re.findall('id=\"d-[^>]*>([^<]*)<', text)) < 50000"), "True");
    EXPECT_EQ(ask("run['objects'][0]['columns'][0].get('thinned'), [len(o['columns']) for o in run['objects']]"),
              "(True, [12, 2, 2, 4])");
    write({model, "--data-limit", "0.04"});  // not even 200 buckets of all columns
    EXPECT_EQ(ask("[[c['name'] for c in o['columns']] for o in run['objects'][1:]]"),
              "[['TotInflow'], ['TotInflow'], ['Outflow']]");
    EXPECT_THAT(ask("run['note']"), HasSubstr("one line alone"));
    write({model, "--data-limit", "0"});
    EXPECT_EQ(ask("run['objects'], run['system'], run['network']['nodes'][0]['series']"), "([], -1, -1)");
    EXPECT_THAT(ask("run['note']"), HasSubstr("4 of 4 objects have none"));
}

TEST_F(Page, TheSameRunGivesTheSameBytes) {
    write({getExample("storm-tank")});
    const std::string first = readFile(page);
    write({getExample("storm-tank"), "--threads", "2"});
    EXPECT_EQ(readFile(page), first);
}

// --- what can go wrong ---------------------------------------------------------------------------------------------

TEST_F(Page, NothingElseIsWritten) {
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = report({model});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "  Page:    " + page + '\n');
    EXPECT_THAT(folder.list(), ElementsAre("frame", "model.inp", "page.html"));
    EXPECT_EQ(runProgram({"report", model, "--template", frame, "--quiet"}).out, "");
    EXPECT_THAT(folder.list(), ElementsAre("frame", "model.html", "model.inp", "page.html"));
}

TEST_F(Page, AProjectWithErrorsShowsThem) {
    write({folder.write("model.inp", BAD_PROJECT)}, 1);
    EXPECT_EQ(ask("[(m['level'], m['place']) for m in run['messages'] if m['level'] == 'error'][:3]"),
              "[('error', 'model.inp, line 6, [PIPES]'), ('error', 'model.inp, line 7, [PIPES]'), "
              "('error', 'model.inp, line 8, [PIPES]')]");
    EXPECT_EQ(ask("run['objects'], run['start'], run['verdict']['level']"), "([], None, 'none')");
}

TEST_F(Page, WithoutAProjectThereIsNoPage) {
    const ProcessResult result = report({folder.file("none.inp")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot open the project file " + folder.file("none.inp")));
    EXPECT_FALSE(folder.has("page.html"));
}

TEST_F(Page, NoInputIsLost) {
    const std::string model = folder.write("model.inp", GOOD_PROJECT), part = folder.write("x.html.part", GOOD_PROJECT);
    const std::string link = folder.file("link.inp");
    std::filesystem::create_symlink(model, link);
    const std::vector<std::vector<std::string>> attempts{
        {"report", model, "-o", model},
        {"report", model, "-o", link},
        {"report", part, "-o", folder.file("x.html")},
        {"report", part, "--compare", model, "-o", model},
        {"report", model, "-o", frame},
        {"report", part, "-o", part + ".run"},
    };
    for (std::vector<std::string> attempt : attempts) {
        attempt.insert(attempt.end(), {"--template", frame});
        const ProcessResult result = runProgram(attempt);
        EXPECT_EQ(result.status, 2) << attempt.back();
        EXPECT_THAT(result.err, StartsWith("tarnvelde: the page would take the place of "));
    }
    EXPECT_EQ(readFile(model), GOOD_PROJECT);
    EXPECT_EQ(readFile(part), GOOD_PROJECT);
    EXPECT_EQ(readFile(frame), FRAME);
}

TEST_F(Page, AFileThatTheProjectReadsIsKept) {
    std::string text = GOOD_PROJECT;
    text.replace(text.find("FLOW 0.5 \"\" 1"), 13, "FLOW 0.5 S 1");
    text += "[TIMESERIES]\nS FILE \"series.dat\"\n";
    const std::string model = folder.write("model.inp", text);
    const std::string series = folder.write("series.dat", "2023/12/31 0:00 0\n2024/01/02 0:00 0\n2024/01/03 0:00 0\n");
    const std::string before = readFile(series);
    const ProcessResult result = runProgram({"report", model, "--template", frame, "-o", series});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("ERROR 301"));
    EXPECT_EQ(readFile(series), before);
}

TEST_F(Page, OfAProjectThatIsNotRunAPageTakesNothingsPlace) {
    const std::string bad = folder.write("bad.inp", std::string(BAD_PROJECT) + "[TIMESERIES]\nS FILE series.dat\n");
    const std::string series = folder.write("series.dat", "2024/01/01 0:00 0\n"), before = readFile(series);
    const std::string good = folder.write("good.inp", GOOD_PROJECT);
    ASSERT_EQ(runProgram({"run", good, "--quiet"}).status, 0);
    const std::string results = folder.file("good.bin");
    for (const std::vector<std::string>& attempt :
         {std::vector<std::string>{bad}, {results, "--model", good}, {good, "--compare", bad}}) {
        std::vector<std::string> arguments{"report"};
        arguments.insert(arguments.end(), attempt.begin(), attempt.end());
        arguments.insert(arguments.end(), {"--template", frame, "-o", series});
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 1) << attempt[0];
        EXPECT_THAT(result.err, HasSubstr("series.dat is there and is no page; it stays"));
        EXPECT_EQ(readFile(series), before);
    }
    write({good});
    write({bad}, 1);  // an earlier page makes room
    EXPECT_EQ(ask("run['name']"), "bad.inp");
}

TEST_F(Page, NamesCanDoNoHarm) {
    std::string text = GOOD_PROJECT;
    const std::string evil = "</script><b>\"\\", latin =
                                                     "Gr\xFC"
                                                     "n";
    for (size_t at = text.find("J1"); at != std::string::npos; at = text.find("J1", at + evil.size())) {
        text.replace(at, 2, evil);
    }
    for (size_t at = text.find("P1"); at != std::string::npos; at = text.find("P1", at + latin.size())) {
        text.replace(at, 2, latin);
    }
    write({folder.write("model.inp", "<!-- <script> \x01 \xFF\n" + text), "--title", "<!--DATA--></title>"});
    const std::string bytes = readFile(page);
    EXPECT_EQ(ask("text.count('</script'), text.count('<script'), text.count('<b>'), text.count('<!--')"),
              "(5, 5, 0, 0)");  // the data and four series
    EXPECT_EQ(ask("run['network']['nodes'][0]['id']"), "</script><b>\"\\");
    EXPECT_EQ(ask("run['network']['links'][0]['id']"), "Gr\xC3\xBCn");
    EXPECT_EQ(ask("run['objects'][run['network']['nodes'][0]['series']]['id']"), "</script><b>\"\\");
    EXPECT_EQ(ask("run['objects'][run['network']['links'][0]['series']]['table']"), "Pipe");
}

TEST_F(Page, ATemplateNeedsItsMarks) {
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    for (const char* text : {"<!--TITLE-->", "<!--DATA-->", "<!--TITLE--><!--DATA--><!--DATA-->", ""}) {
        const std::string bad = folder.write("bad", text);
        const ProcessResult result = runProgram({"report", model, "--template", bad, "-o", page});
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_THAT(result.err, HasSubstr("each of the marks <!--TITLE--> and <!--DATA--> once"));
    }
    const ProcessResult result = runProgram({"report", model, "--template", folder.file("none"), "-o", page});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot read the page"));
    EXPECT_FALSE(folder.has("page.html"));
}

TEST_F(Page, WithoutATemplateItIsThatOfTheBuild) {
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    const ProcessResult result = runProgram({"report", model, "-o", page});
    if (result.status == 0) {
        EXPECT_THAT(readFile(page), HasSubstr("id=\"tarnvelde-data\""));
    } else {
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.err, HasSubstr("built without the page: scripts/build-page.sh makes it"));
        EXPECT_FALSE(folder.has("page.html"));
    }
}

TEST_F(Page, WrongNumbersAreWrongUsage) {
    const std::string model = folder.write("model.inp", GOOD_PROJECT);
    for (const char* limit : {"-1", "1001", "much", "nan"}) {
        EXPECT_EQ(report({model, std::string("--data-limit=") + limit}).status, 2) << limit;
    }
    EXPECT_FALSE(folder.has("page.html"));
}

TEST_F(Page, ASignalLeavesThePageOfTheRunSoFar) {
    const std::string model = folder.write("model.inp", makeLongProject());
    const ProcessResult result = process_run({"timeout", "--signal", "INT", "2", TARNVELDE_PROGRAM, "report", model,
                                              "--template", frame, "-o", page, "--quiet"});
    EXPECT_THAT(result.err, HasSubstr("stopped by SIGINT at 2"));
    EXPECT_EQ(ask("[f[0] for f in run['facts']][-1], run['end'] > run['start'], len(table('nodes'))"),
              "('Stopped', True, 2)");
}
