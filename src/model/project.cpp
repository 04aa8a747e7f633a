// The variables of the one project that a process can hold. Whoever changes one is told in the rooms; here they only
// stand. One project per process is the rule because of them, and hosts that want many runs start many processes.

#include "model/project.h"

#include "text/datetime.h"
#include "text/units.h"

const char* const NodeKindWords[NODE_KIND_COUNT] = {
#define TARNVELDE_NODE_SECTION(number, name, kind) #kind,
#define TARNVELDE_COUPLED_SECTION(number, name, kind) #kind,
#include "model/sections.def"
};
const char* const LinkKindWords[LINK_KIND_COUNT] = {
#define TARNVELDE_LINK_SECTION(number, name, kind) #kind,
#include "model/sections.def"
};

int32_t ObjectCount[OBJECT_TYPE_COUNT];
int32_t NodeKindCount[NODE_KIND_COUNT];
int32_t LinkKindCount[LINK_KIND_COUNT];

Table<Node> Nodes;
Table<Link> Links;

FlowTotalsRecord FlowTotals;
QualTotalsRecord* QualTotals;
double RunoffError, FlowError, QualityError;

std::string InputFileName, ReportFileName, ResultsFileName, InputFolder, DbFileName;
std::string Description[10];
std::string SwmmDllPath, SwmmTempDir;
std::string VornDllPath, VornTempDir;

double StartDate, StartTime, EndDate, EndTime;
double StartDateTime, EndDateTime;
int32_t RunoffStep, RoutingStep, ReportStep;
double StartDryDays;
bool ReportAverage;
bool LidMonoRainfall;
double EventInterval, EventMinValue;
double ConduitLengthening;

bool IsOpen, IsStarted;
int32_t SaveMode;
double OldRunoffTime, NewRunoffTime;
double OldRoutingTime, NewRoutingTime;
double ReportTime;
double TotalDuration;
double ElapsedDays;

std::vector<HostInflow> HostInflows, HostLoads;
std::vector<SwmmRequest> SwmmInflowRequests, SwmmSettingRequests, SwmmLoadRequests;

double project_getDate(double clock) {
    return datetime_addSeconds(StartDateTime, (clock + 1.0) / MS_PER_SECOND);
}

void project_clearHostLists() {
    HostInflows.clear();
    HostLoads.clear();
    SwmmInflowRequests.clear();
    SwmmSettingRequests.clear();
    SwmmLoadRequests.clear();
}
