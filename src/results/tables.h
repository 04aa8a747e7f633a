#pragma once
// Summary tables of the report, one function each, in the order of the report. A table without objects is left out, its
// head too.

void tables_writeSubcatches();
void tables_writeWashoff();
void tables_writeLidUnits();
void tables_writeLidUnitQuality();
void tables_writeNodes();
void tables_writeTanks();
void tables_writeOutfalls();
void tables_writeReactors();
void tables_writeLidMonos();
void tables_writeLidMonoQuality();
void tables_writeLinks();
void tables_writeConduits();
void tables_writeGageEvents();
