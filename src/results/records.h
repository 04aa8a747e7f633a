#pragma once
// What the values in the list of columns name: the records of all objects with rows, and how two states are mixed.

#include "hydrology/gage.h"
#include "hydrology/lid.h"
#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/pipe.h"
#include "nodes/lidmono.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "results/rowvalues.h"
