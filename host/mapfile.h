#pragma once
// Where the objects of a project lie: the section [MAP] of its file, which the engine skips. docs/map.md describes it.

#include <string>
#include <vector>

/// In the project's own system of coordinates.
struct MapPoint {
    double x;
    double y;
};

struct MapShape {
    std::string id;  ///< as the object's own line writes it
    std::vector<MapPoint>
        points;  ///< a node's one; those between the ends of a link; an area's outline, not closed, or centre
    int line;    ///< of the project file, as messages of the engine count
};

struct ProjectMap {
    std::string crs;  ///< as "EPSG:25832"; empty if none is given
    std::vector<MapShape> nodes, links, areas;
    std::vector<std::string> messages;  ///< what is wrong, of which nothing is taken
};

/// Reads the coordinates of a project. Faults are listed in the messages, and so is a file that can't be read.
[[nodiscard]] ProjectMap map_read(const std::string& project);

/// What a project says in [GENERAL] of an option, by its last line; empty if it says nothing, or can't be read.
[[nodiscard]] std::string map_readOption(const std::string& project, const std::string& option);
