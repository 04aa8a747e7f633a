// Links of all kinds. The routing step asks here for what it does to every link: targets, settings, the roll from new
// to old. In a large network nearly all links are pipes that stand still in nearly all steps, so those that changed,
// and those that anything may close, are kept in two lists.

#include "links/link.h"

#include <algorithm>

#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "nodes/outlets.h"
#include "platform/memory.h"
#include "text/tokens.h"

/// A pipe by its rows in the tables of the links and of the pipes.
struct ChangedPipe {
    int32_t link;
    int32_t pipe;
};

static Table<int32_t> EverChanging;      ///< links of all kinds but PIPE
static Table<ChangedPipe> ChangedPipes;  ///< that fired, or that the host wrote to, since the last roll
static Table<uint8_t> IsChanged;         ///< by link: stands in ChangedPipes
static Table<int32_t> GuidedLinks;       ///< pumps, and links that a rule or the host has given a target
static Table<uint8_t> IsGuided;          ///< by link: stands in GuidedLinks

// --- reading -------------------------------------------------------------------------------------------------------

int32_t link_readEnds(const Tokens& tokens, LinkEnds& ends) {
    ends.id = names_findId(LINK, tokens[0]);
    if (!ends.id) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    ends.fromNode = names_find(NODE, tokens[1]);
    if (ends.fromNode < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    ends.toNode = names_find(NODE, tokens[2]);
    if (ends.toNode < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    return ERR_NONE;
}

int32_t link_readLag(const Tokens& tokens, int32_t place, int32_t& isLagged) {
    isLagged = tokens_findKeyword(tokens[place], NoYesWords);
    return isLagged < 0 ? errors_setName(ERR_KEYWORD, tokens[place]) : ERR_NONE;
}

void link_setEnds(int32_t index, int32_t kind, int32_t kindIndex, const LinkEnds& ends, int32_t isLagged) {
    Link& link = Links[index];
    link.id = ends.id;
    link.kind = kind;
    link.kindIndex = kindIndex;
    link.fromNode = ends.fromNode;
    link.toNode = ends.toNode;
    link.isLagged = isLagged;
}

int32_t link_readParams(const Tokens& tokens, int32_t link, int32_t kind, int32_t kindIndex) {
    switch (kind) {
        case PIPE: return pipe_readParams(tokens, link, kindIndex);
        case PUMP: return pump_readParams(tokens, link, kindIndex);
        case CONNECTION: return connection_readParams(tokens, link, kindIndex);
        case CONDUIT: return conduit_readParams(tokens, link, kindIndex);
        case WEIR: return weir_readParams(tokens, link, kindIndex);
        case ORIFICE: return orifice_readParams(tokens, link, kindIndex);
        default: return ERR_NONE;
    }
}

// --- validation and start ------------------------------------------------------------------------------------------

void link_validate(int32_t link) {
    switch (Links[link].kind) {
        case PIPE: pipe_validate(link); break;
        case PUMP: pump_validate(link); break;
        case CONDUIT: conduit_validate(link); break;
        case WEIR:
        case ORIFICE: outlets_validateLink(link); break;
        default: break;
    }
}

void link_initState(int32_t index) {
    Link& link = Links[index];
    link.oldFlow = link.newFlow = 0.0;
    link.setting = 1.0;
    link.isHostSetting = 0;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        link.oldQual[p] = link.newQual[p] = 0.0;
    }
    switch (link.kind) {
        case PIPE: pipe_initState(index); break;
        case PUMP: pump_initState(index); break;
        case CONNECTION: connection_initState(index); break;
        case CONDUIT: conduit_buildTables(index, link.kindIndex); break;
        case WEIR: weir_initState(index); break;
        default: break;
    }
    // A weir, connection or conduit without a rule keeps this target for the whole run, and so its setting.
    link.targetSetting = link.setting;
}

void link_endState(int32_t index) {
    switch (Links[index].kind) {
        case PIPE: pipe_endState(index); break;
        case CONNECTION: connection_endState(index); break;
        default: break;
    }
}

// --- the roll from new to old --------------------------------------------------------------------------------------

void link_shiftHydState(int32_t index) {
    Link& link = Links[index];
    link.oldFlow = link.newFlow;
    switch (link.kind) {
        case PIPE: pipe_shiftHydState(link.kindIndex); break;
        case CONNECTION: connection_shiftHydState(index); break;
        case CONDUIT: conduit_shiftHydState(link.kindIndex); break;
        default: break;
    }
}

static void shiftQualState(Link& link) {
    std::copy_n(link.newQual, project_pollutantCount(), link.oldQual);
}

void link_shiftQualState(int32_t link) {
    shiftQualState(Links[link]);
}

void link_clearLists() {
    EverChanging = {};
    ChangedPipes = {};
    IsChanged = {};
    GuidedLinks = {};
    IsGuided = {};
}

void link_openLists() {
    EverChanging.clear();
    ChangedPipes.clear();
    GuidedLinks.clear();
    IsChanged.fill(Links.size(), 0);
    IsGuided.fill(Links.size(), 0);
    ChangedPipes.reserve(Links.size());
    GuidedLinks.reserve(Links.size());  // hosts add to it between steps, where nothing may fail
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (Links[k].kind != PIPE) {
            EverChanging.push_back(k);
        }
        if (Links[k].kind == PUMP) {
            link_noteTarget(k);
        }
    }
}

/// Asks for the memory of two pipes that the roll comes to soon: of the farther one the record of the link, of the
/// nearer one what that record points to.
static void fetchChanged(ChangedPipe farther, ChangedPipe nearer) {
    memory_fetch(&Links[farther.link]);
    memory_fetch(&Pipes[farther.pipe].newInflow);
    memory_fetch(Links[nearer.link].newQual);
}

void link_shiftAll() {
    for (const int32_t link : EverChanging) {
        link_shiftHydState(link);
        link_shiftQualState(link);
    }
    static constexpr int32_t AHEAD = 8;
    for (int32_t k = 0; k < ChangedPipes.size(); ++k) {
        if (k + AHEAD < ChangedPipes.size()) {
            fetchChanged(ChangedPipes[k + AHEAD], ChangedPipes[k + AHEAD / 2]);
        }
        const ChangedPipe changed = ChangedPipes[k];
        Link& link = Links[changed.link];
        link.oldFlow = link.newFlow;
        pipe_shiftHydState(changed.pipe);
        shiftQualState(link);
        IsChanged[changed.link] = 0;
    }
    ChangedPipes.clear();
}

void link_noteChange(int32_t link, int32_t kindIndex) {
    // Before the first start there are no lists, and the start puts every flow to 0.
    if (IsChanged.holds(link) && !IsChanged[link] && Links[link].kind == PIPE) {
        IsChanged[link] = 1;
        ChangedPipes.push_back({link, kindIndex});
    }
}

bool link_isChanged(int32_t link) {
    return IsChanged[link] != 0;
}

// --- settings ------------------------------------------------------------------------------------------------------

void link_noteTarget(int32_t link) {
    if (IsGuided.holds(link) && !IsGuided[link]) {
        IsGuided[link] = 1;
        GuidedLinks.push_back(link);
    }
}

void link_setTargets() {
    for (const int32_t index : GuidedLinks) {
        Link& link = Links[index];
        switch (link.kind) {
            case PIPE:
            case ORIFICE: link.targetSetting = 1.0; break;
            case PUMP: pump_setTarget(index); break;
            default: break;  // a weir, connection or conduit stays where it was put
        }
    }
}

void link_applyTargets() {
    for (const int32_t index : GuidedLinks) {
        Link& link = Links[index];
        if (link.targetSetting != link.setting && !link.isHostSetting) {
            link.setting = link.targetSetting;
        }
    }
}
