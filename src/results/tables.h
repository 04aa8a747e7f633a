#pragma once
// Summary tables of the report, one function each. A table without objects is left out, its head too.

void tables_writeNodes();
void tables_writeOutfalls();
void tables_writeReactors();
void tables_writeLinks();
