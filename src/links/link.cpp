// Links of all kinds. The kinds stand in rooms of their own beside this one, and nothing here tells them apart but for
// the pump, the one kind whose setting moves by itself. Called by the rooms of the kinds when a line is read, and by
// the room linkkinds in a run.

#include "links/link.h"

#include <algorithm>

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"

// --- reading -------------------------------------------------------------------------------------------------------

int32_t link_readEnds(Model& model, const Tokens& tokens, LinkHead& head) {
    head.id = names_findId(model, LINK, tokens[0]);
    if (!head.id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    head.fromNode = names_find(model, NODE, tokens[1]);
    if (head.fromNode < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    head.toNode = names_find(model, NODE, tokens[2]);
    return head.toNode < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]) : ERR_NONE;
}

int32_t link_readLag(Model& model, const Tokens& tokens, int32_t place, LinkHead& head) {
    const int32_t word = tokens_findKeyword(tokens[place], NoYesWords);
    head.isLagged = word > 0;
    return word < 0 ? errors_setName(model, ERR_KEYWORD, tokens[place]) : ERR_NONE;
}

int32_t link_readHead(Model& model, const Tokens& tokens, int32_t needed, LinkHead& head) {
    if (tokens.count < needed) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t error = link_readEnds(model, tokens, head);
    return error ? error : link_readLag(model, tokens, 3, head);
}

void link_setHead(Model& model, int32_t index, int32_t kind, int32_t kindIndex, const LinkHead& head) {
    Link& link = model.links[index];
    link.id = head.id;
    link.kind = static_cast<int16_t>(kind);
    link.kindIndex = kindIndex;
    link.fromNode = head.fromNode;
    link.toNode = head.toNode;
    link.isLagged = head.isLagged;
}

// --- state ---------------------------------------------------------------------------------------------------------

int32_t link_getIndex(const Model& model, const Link& link) {
    return static_cast<int32_t>(&link - model.links.data());
}

void link_initState(const Model& model, Link& link) {
    link.oldFlow = link.newFlow = 0.0;
    link.setting = 1.0;
    link.isHostSetting = false;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        link.oldQual[p] = link.newQual[p] = 0.0;
    }
}

void link_shiftQuality(const Model& model, Link& link) {
    std::copy_n(link.newQual, model_pollutantCount(model), link.oldQual);
}

// --- settings ------------------------------------------------------------------------------------------------------

void link_openSettings(Model& model) {
    model.guidedLinks.clear();
    model.isGuided.fill(model.links.size(), 0);
    model.guidedLinks.reserve(model.links.size());  // hosts add to it between steps, where nothing may fail
    for (int32_t k = 0; k < model.links.size(); ++k) {
        if (model.links[k].kind == PUMP) {
            link_noteTarget(model, k);
        }
    }
}

void link_noteTarget(Model& model, int32_t link) {
    if (model.isGuided.holds(link) && !model.isGuided[link]) {
        model.isGuided[link] = 1;
        model.guidedLinks.push_back(link);
    }
}

void link_holdSetting(Model& model, int32_t index, double setting) {
    Link& link = model.links[index];
    link.isHostSetting = true;
    link.setting = setting;
    link_forgetFacts(link);
    link_noteTarget(model, index);
}

bool link_applyTarget(Link& link) {
    if (link.targetSetting == link.setting || link.isHostSetting) {
        return false;
    }
    link.setting = link.targetSetting;
    link_forgetFacts(link);
    return true;
}
