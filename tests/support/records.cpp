#include "support/records.h"
#include "model/reportfile.h"

#include <cstdio>

#include "links/conduit.h"
#include "links/link.h"
#include "links/pipe.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "nodes/node.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "support/model.h"
#include "support/project.h"

int32_t Records::findNode(const std::string& id) {
    return names_find(testModel(), NODE, id.c_str());
}

int32_t Records::findLink(const std::string& id) {
    return names_find(testModel(), LINK, id.c_str());
}

int32_t Records::findSubcatch(const std::string& id) {
    return names_find(testModel(), SUBCATCH, id.c_str());
}

Node& Records::node(const std::string& id) {
    return testModel().nodes.at(findNode(id));
}

Reactor& Records::reactor(const std::string& id) {
    return testModel().reactors.at(node(id).kindIndex);
}

Splitter& Records::splitter(const std::string& id) {
    return testModel().splitters.at(node(id).kindIndex);
}

Tank& Records::tank(const std::string& id) {
    return testModel().tanks.at(node(id).kindIndex);
}

Link& Records::link(const std::string& id) {
    return testModel().links.at(findLink(id));
}

LinkFlood& Records::linkFlood(const std::string& id) {
    return testModel().linkFloods.at(findLink(id));
}

Conduit& Records::conduit(const std::string& id) {
    return testModel().conduits.at(link(id).kindIndex);
}

Pipe& Records::pipe(const std::string& id) {
    return testModel().pipes.at(link(id).kindIndex);
}

std::string Project::readReport() const {
    if (testModel().files.report) {
        std::fflush(testModel().files.report);
    }
    return getReport();
}
