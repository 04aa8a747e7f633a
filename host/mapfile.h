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
        points;  ///< of a node one; of a link those between its ends; of an area its outline or centre
    int line;    ///< of the project file, as messages of the engine count
};

struct ProjectMap {
    std::string crs;  ///< as "EPSG:25832"; empty if none is given
    std::vector<MapShape> nodes, links, areas;
    std::vector<std::string> messages;  ///< what is wrong, of which nothing is taken
};

/// Reads the coordinates of a project. What is wrong is told in the messages, and so is a file that can't be read.
[[nodiscard]] ProjectMap map_read(const std::string& project);
