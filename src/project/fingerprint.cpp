// Fingerprints of a project. That of the content is a sum over all its lines, so no word may change between a state and
// the run that it is given back to. That of the structure covers what a new run must have in common with the one that
// left its state: objects by name, kind and number, pollutants, the ends of links, reaches; not the dates, not the
// parameters, and neither series nor rules.

#include "project/fingerprint.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "hydrology/landuse.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "links/pipe.h"
#include "model/inputfiles.h"
#include "model/model.h"
#include "model/pollut.h"
#include "nodes/lidmono.h"
#include "platform/files.h"
#include "project/statehash.h"

static constexpr size_t SUM_SIZE = size_t{1} << 20;  ///< bytes of a file at once, a multiple of a block

// --- content -------------------------------------------------------------------------------------------------------

void fingerprint_begin(Model& model) {
    model.fingerprint = Fingerprint{};
}

void fingerprint_addLine(Model& model, const char* line, size_t length) {
    const uint64_t sum = statehash_getSum(line, length);
    model.fingerprint.content = statehash_mix(model.fingerprint.content, sum);
}

/// The sum of a file; 0 for one that can't be read any more.
static uint64_t sumFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(files_openForReading(path.c_str()), std::fclose);
    if (!file) {
        return 0;
    }
    StateHash hash;
    std::vector<char> bytes(SUM_SIZE);
    for (size_t count = SUM_SIZE; count == SUM_SIZE;) {
        count = std::fread(bytes.data(), 1, SUM_SIZE, file.get());
        statehash_add(hash, bytes.data(), count);
    }
    return statehash_get(hash);
}

uint64_t fingerprint_sumInputs(const Model& model) {
    uint64_t sum = model.fingerprint.content;
    for (const InputFile& input : model.files.inputs) {
        if (input.isRead && input.identity.exists && input.use != PROJECT_USE) {
            sum = statehash_mix(sum, sumFile(input.identity.path));
        }
    }
    return sum;
}

// --- structure -----------------------------------------------------------------------------------------------------

static void addNumber(uint64_t& sum, int64_t number) {
    sum = statehash_mix(sum, static_cast<uint64_t>(number));
}

static void addText(uint64_t& sum, const char* text) {
    sum = statehash_mix(sum, text ? statehash_getSum(text, std::strlen(text)) : 0);
}

static void addLand(uint64_t& sum, const Model& model) {
    for (const Landuse& landuse : model.landuses) {
        addText(sum, landuse.name);
    }
    for (const Subcatch& subcatch : model.subcatches) {
        addText(sum, subcatch.name);
        addNumber(sum, subcatch.outNode);
    }
    for (const LidGroup& group : model.lidGroups) {
        addNumber(sum, group.firstUnit);
    }
    for (const LidUnit& unit : model.lidUnits) {
        addText(sum, model.lids[unit.lid].name);
        addNumber(sum, model.lids[unit.lid].type);
        addNumber(sum, unit.drainNode);
        addNumber(sum, unit.next);
    }
}

static void addNetwork(uint64_t& sum, const Model& model) {
    for (const Node& node : model.nodes) {
        addText(sum, node.id);
        addNumber(sum, node.kind);
        addNumber(sum, node.kindIndex);
    }
    for (const LidMono& mono : model.lidMonos) {
        addText(sum, model.lids[mono.unit.lid].name);
        addNumber(sum, model.lids[mono.unit.lid].type);
    }
    for (const Link& link : model.links) {
        addText(sum, link.id);
        addNumber(sum, link.kind);
        addNumber(sum, link.kindIndex);
        addNumber(sum, link.fromNode);
        addNumber(sum, link.toNode);
        addNumber(sum, link.isLagged);
    }
    for (const Pipe& pipe : model.pipes) {
        addNumber(sum, pipe.n);
    }
}

void fingerprint_takeStructure(Model& model) {
    uint64_t sum = 0;
    for (const int32_t type : {SUBCATCH, NODE, LINK, POLLUT, LANDUSE}) {
        addNumber(sum, model.counts.objects[type]);
    }
    for (const int32_t count : model.counts.nodeKinds) {
        addNumber(sum, count);
    }
    for (const int32_t count : model.counts.linkKinds) {
        addNumber(sum, count);
    }
    for (const Pollut& pollutant : model.polluts) {
        addText(sum, pollutant.id);
    }
    addLand(sum, model);
    addNetwork(sum, model);
    model.fingerprint.structure = sum;
}
