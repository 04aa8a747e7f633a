#pragma once
// Summary tables of the report, one function each, in the order of the report. A table without objects is left out, its
// head too.

struct Model;

void tables_writeSubcatches(const Model& model);
void tables_writeWashoff(const Model& model);
void tables_writeLidUnits(Model& model);
void tables_writeLidUnitQuality(Model& model);
void tables_writeNodes(const Model& model);
void tables_writeTanks(const Model& model);
void tables_writeOutfalls(const Model& model);
void tables_writeReactors(const Model& model);
void tables_writeLidMonos(const Model& model);
void tables_writeLidMonoQuality(const Model& model);
void tables_writeLinks(const Model& model);
void tables_writeConduits(const Model& model);
void tables_writeGageEvents(const Model& model);
