#pragma once
// The folder project: from a file to tables, checked and put to their start. It uses all floors below; it must know no
// host and take no step. It knows which section belongs to which room and which table is made when; what a line means,
// and what is wrong with it, is told by the room whose object it describes.
//
// The project file: sections of lines, read twice.

#include "text/textfile.h"
#include "text/tokens.h"

extern TextFile InputFile;  ///< open from the opening of the project to its close

/// Reads the whole project; sets ErrorCode, the start and end of the simulation and its duration.
void reader_readProject();

/// First pass: counts and names all objects, and takes the general options.
void reader_countObjects();

/// Second pass: fills the tables.
void reader_readData();

/// Takes the first word of a line of a section in the first pass. An error index, or 0.
int32_t reader_countLine(int32_t section, const char* word);

/// Takes the line, which stands as `rawLine` in the file, in the second pass. An error index, or 0.
int32_t reader_parseLine(const Tokens& tokens, int32_t section, const char* rawLine);
