// The texts are the last column of the table in docs/errors.md; a test compares them.

#include "remedies.h"

#include <algorithm>
#include <array>

namespace {

struct Remedy {
    int32_t code;
    const char* text;
};

constexpr auto REMEDIES = std::to_array<Remedy>({
    {101, "Look for a number with too many digits, above all the N of a pipe; else use a machine with more memory."},
    {131, "If it is a recycle, make one of its links lagged (YES); else turn a link round."},
    {133, "Make the node a splitter, or move a link."},
    {135, "Break the loop: make a link lagged. A head is a node that nothing flows into."},
    {137,
     "Add a link that starts there, or make the node an outfall. A comment begins with //: after # or ; a line is "
     "data."},
    {139, "Make the node a junction, or turn the link round."},
    {141, "Put a tank upstream of the pump."},
    {145, "Let the tank discharge through an orifice to a junction, and start the link there."},
    {149, "Put a junction and a link between."},
    {151, "Use a pipe, connection or conduit."},
    {153, "Put a tank upstream of it."},
    {155, "Name one of its two outgoing links, or correct the link's upstream node."},
    {157, "Give it two; for three ways put two splitters in a row."},
    {159, "Give the gage a series of its own (a copy)."},
    {161, "Sort the points, remove the doubled one."},
    {163, "Sort the entries; look for a date that doesn't exist, which is read as hours."},
    {171, "Set START_DATE and END_DATE in [GENERAL], the end after the start."},
    {173, "Make the report step a multiple of the routing step."},
    {175, "Set both alike."},
    {177, "Set both alike."},
    {179, "Lengthen the one or shorten the other, also if there is no subcatchment."},
    {181, "Lengthen K and lower N, or shorten the step; K should be at least twice the step."},
    {183, "Set a metric flow unit in that model."},
    {200, "Read the messages in the report."},
    {203, "Compare the line with the table of its section in the manual; \"\" is a word, for none."},
    {205,
     "Use a keyword of the table of the section in the manual, as a whole word; for a header one of the list of "
     "sections."},
    {207, "Rename one: all nodes share one set of names, and so do all links; take the quotes off."},
    {209,
     "Check the spelling, and that a line in the section of its kind defines the object; cure the other messages "
     "first."},
    {211,
     "Write it with a decimal point, without a unit, % or commas, and within the range of the table of its section. "
     "For a connection the text shows the NO or YES before the delay, for an orifice of height 0 its coefficient."},
    {213, "Write dates as year/month/day, times as hours:minutes:seconds."},
    {215, "The order is RULE, IF, AND or OR, THEN, AND, ELSE, AND, PRIORITY."},
    {217, "Remove the line or move it; look for quotes around first words."},
    {219, "Compare like with like."},
    {231, "Correct the path."},
    {233, "Open that model by itself and see its report; see whether the folder for the copies may be written to."},
    {235, "See the report of that model."},
    {237, "Correct the name."},
    {239, "See the report of that model."},
    {241, "Add it there, even if nothing brings it in."},
    {243, "Give its path with tarnvelde_initSwmmDll, or put it beside the program."},
    {245, "Give each a copy."},
    {247, "Create it, or give another one."},
    {301, "Give three different names."},
    {303, "Check path and rights."},
    {305, "Check the folder and its rights; close programs that hold the file."},
    {307, "Check the folder and its rights; close programs that hold the file."},
    {309, "Free some disk space and run again: the file is not complete."},
    {313, "Check the folder of the database and its rights; wait for the other run."},
    {315,
     "Look for IDs with apostrophes or signs that a column name can't have, or that differ only in such signs; check "
     "the disk; close programs that use the database."},
    {361,
     "Correct the name: the file is looked for in the current folder and beside the project; a name with blanks is in "
     "quotes, and none holds //."},
    {363,
     "Write each line as date, time and value with blanks between, as 2024/03/13 05:30 0.12; no titles, comments begin "
     "with ;."},
    {400,
     "Call open, start, step, report, end, close in this order. The code stays until the next open, and no report is "
     "written any more."},
    {500, "Raise the one or lower the other."},
    {501, "Name in word 2 a node of the project, or add that node."},
    {503, "Give it a whole number of at least 1."},
    {505, "Give it 0 to 0.5."},
    {507, "Change its type; it is read by the hour in any case."},
    {509, "Change its type; give it 24 factors, since it is read by the hour."},
    {511, "Name another curve."},
    {513, "Name another curve."},
    {515, "Change the reaction, or make it a PFR."},
    {517, "Exchange the two."},
    {601,
     "Check rights and space of the temporary folder; without one, for tarnvelde_open, of the folder of the library."},
    {700, "Add the line."},
    {701, "Add the layer."},
    {703, "See the layer's table."},
    {705, "Reduce the areas, or enlarge the subcatchment."},
    {707, "Reduce the shares to 100 % together."},
    {800, "Only first-order decay is possible in pipes, conduits, tanks and LIDs; for others use a reactor."},
    {900, "Give one a series of its own, in its unit."},
    {910, "Add a line for it, be it a CONSTANT of 0."},
    {911, "Add a line for the one that is missing."},
    {920, "Give its path with tarnvelde_initVornDll and step the run from the host, or put it where it is looked for."},
    {921, "Create it, or give another one."},
    {923, "Give each a copy."},
    {924, "Open that model by itself; check the library."},
    {925, "See that model."},
    {926, "Set both alike."},
    {927, "Set both alike."},
    {928, "Correct the name."},
    {929, "Correct the name."},
    {931, "Set it to unsteady."},
    {932, "Open that model by itself."},
});

}  // namespace

const char* remedies_find(int32_t code) {
    const auto* const found =
        std::find_if(REMEDIES.begin(), REMEDIES.end(), [code](const Remedy& remedy) { return remedy.code == code; });
    return found == REMEDIES.end() ? "" : found->text;
}
