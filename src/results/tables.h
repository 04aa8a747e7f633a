#pragma once
// Summary tables of the report, one function each, in the order of the report. A table without objects is left out, its
// head too.

struct Model;

void tables_writeSubcatches(Model& model);
void tables_writeWashoff(Model& model);
void tables_writeLidUnits(Model& model);
void tables_writeLidUnitQuality(Model& model);
void tables_writeNodes(Model& model);
void tables_writeTanks(Model& model);
void tables_writeOutfalls(Model& model);
void tables_writeReactors(Model& model);
void tables_writeLidMonos(Model& model);
void tables_writeLidMonoQuality(Model& model);
void tables_writeLinks(Model& model);
void tables_writeConduits(Model& model);
void tables_writeGageEvents(Model& model);
