// The model, put together of what all rooms keep in it, and taken apart.

#include <cstdio>

#include "controls/rule.h"
#include "coupling/converter.h"
#include "coupling/coupled.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "hydrology/buildup.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landrest.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/lidrest.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/transect.h"
#include "links/weir.h"
#include "model/curve.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/reportfile.h"
#include "model/timeseries.h"
#include "nodes/inflows.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/outputs.h"
#include "platform/workers.h"
#include "project/reader.h"
#include "results/binary.h"
#include "results/database.h"
#include "results/results.h"
#include "routing/loadbook.h"
#include "routing/routing.h"
#include "routing/visits.h"

Model::Model() = default;

/// A model that is still open is released as it is: engines are closed, and nothing is completed or deleted.
Model::~Model() {
    if (isStarted) {
        routing_close(*this);
    }
    coupled_deleteNodes(*this);
    results_abandon(*this);
    for (Series& series : timeSeries) {
        textfile_close(series.file);
    }
    textfile_close(files.input);
    reportfile_release(*this);
    outputs_leave(files.reportPlace, files.report);
}
