#pragma once
// Tables that a test fills itself, without a project file.

#include <cstdint>
#include <initializer_list>
#include <string>

#include "model/project.h"
#include "support/model.h"
#include "support/records.h"

/// The tables, empty before and after a test.
struct Tables : Records {
    Tables();
    ~Tables() { clear(); }
    Tables(const Tables&) = delete;
    Tables& operator=(const Tables&) = delete;

    /// Empties tables, names, counts and arenas, and forgets the last error.
    static void clear();

    /// Registers the next object of a class that has no record of its own here; its place.
    static int32_t addName(int32_t type, const std::string& id);

    static void setPollutantCount(int32_t count) { testModel().counts.objects[POLLUT] = count; }

    /// Registers a node and adds its record; a kind of -1 is that of a refused line.
    static int32_t addNode(const std::string& id, int32_t kind = JUNCTION);
    /// Nodes A, B, C ... of these kinds.
    static void addNodes(std::initializer_list<int32_t> kinds);
    /// Nodes A, B, C ... of a kind that may have any number of outlets.
    static void addNodes(int32_t count);

    /// Makes a node a reactor; without an emptying node `emptying` is -1.
    static void makeReactor(int32_t node, int32_t surpass, int32_t emptying);
    static void makeLidMono(int32_t node, int32_t drain);

    /// Registers an open link and adds its record; a kind of -1 is that of a refused line.
    static int32_t addLink(const std::string& id, int32_t kind);
    /// A link between two nodes of the tables.
    static int32_t addLink(const std::string& id, int32_t from, int32_t to, int32_t kind = PIPE);
    /// Links between nodes of one letter: "AB2" leads from A to B, and with a "~" in front does so a step late.
    static void connect(std::initializer_list<const char*> links);
};
