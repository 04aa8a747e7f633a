#pragma once
// The project file: sections of lines, read twice.

#include "text/textfile.h"

extern TextFile InputFile;  ///< open from the opening of the project to its close

/// Reads the whole project; sets ErrorCode, the start and end of the simulation and its duration.
void reader_readProject();
