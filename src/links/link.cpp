// Links of all kinds. The kinds stand in rooms of their own beside this one, and nothing here tells them apart but for
// the pump, the one kind whose setting moves by itself. Called by the rooms of the kinds when a line is read, and by
// the room linkkinds in a run.

#include "links/link.h"

#include <algorithm>

#include "model/errors.h"
#include "model/names.h"

Table<int32_t> GuidedLinks;

static Table<uint8_t> IsGuided;  ///< by link: stands in GuidedLinks

// --- reading -------------------------------------------------------------------------------------------------------

int32_t link_readEnds(const Tokens& tokens, LinkHead& head) {
    head.id = names_findId(LINK, tokens[0]);
    if (!head.id) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    head.fromNode = names_find(NODE, tokens[1]);
    if (head.fromNode < 0) {
        return errors_setName(ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    head.toNode = names_find(NODE, tokens[2]);
    return head.toNode < 0 ? errors_setName(ERR_UNDEFINED_OBJECT, tokens[2]) : ERR_NONE;
}

int32_t link_readLag(const Tokens& tokens, int32_t place, LinkHead& head) {
    const int32_t word = tokens_findKeyword(tokens[place], NoYesWords);
    head.isLagged = word > 0;
    return word < 0 ? errors_setName(ERR_KEYWORD, tokens[place]) : ERR_NONE;
}

int32_t link_readHead(const Tokens& tokens, int32_t needed, LinkHead& head) {
    if (tokens.count < needed) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t error = link_readEnds(tokens, head);
    return error ? error : link_readLag(tokens, 3, head);
}

void link_setHead(int32_t index, int32_t kind, int32_t kindIndex, const LinkHead& head) {
    Link& link = Links[index];
    link.id = head.id;
    link.kind = kind;
    link.kindIndex = kindIndex;
    link.fromNode = head.fromNode;
    link.toNode = head.toNode;
    link.isLagged = head.isLagged;
}

// --- state ---------------------------------------------------------------------------------------------------------

void link_initState(Link& link) {
    link.oldFlow = link.newFlow = 0.0;
    link.setting = 1.0;
    link.isHostSetting = false;
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        link.oldQual[p] = link.newQual[p] = 0.0;
    }
}

void link_shiftQuality(Link& link) {
    std::copy_n(link.newQual, project_pollutantCount(), link.oldQual);
}

// --- settings ------------------------------------------------------------------------------------------------------

void link_openSettings() {
    GuidedLinks.clear();
    IsGuided.fill(Links.size(), 0);
    GuidedLinks.reserve(Links.size());  // hosts add to it between steps, where nothing may fail
    for (int32_t k = 0; k < Links.size(); ++k) {
        if (Links[k].kind == PUMP) {
            link_noteTarget(k);
        }
    }
}

void link_clearSettings() {
    GuidedLinks = {};
    IsGuided = {};
}

void link_noteTarget(int32_t link) {
    if (IsGuided.holds(link) && !IsGuided[link]) {
        IsGuided[link] = 1;
        GuidedLinks.push_back(link);
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
