#pragma once
// The records of the tables by the IDs of their objects, whoever has filled the tables.

#include <cstdint>
#include <string>

struct Conduit;
struct Link;
struct LinkFlood;
struct Node;
struct Pipe;
struct Reactor;
struct Splitter;
struct Tank;

/// What a project and tables filled by hand have in common. A record of an ID that isn't there throws.
struct Records {
    /// Places in the tables, or -1.
    static int32_t findNode(const std::string& id);
    static int32_t findLink(const std::string& id);
    static int32_t findSubcatch(const std::string& id);

    static Node& node(const std::string& id);
    static Reactor& reactor(const std::string& id);
    static Splitter& splitter(const std::string& id);
    static Tank& tank(const std::string& id);

    static Link& link(const std::string& id);
    static LinkFlood& linkFlood(const std::string& id);
    static Conduit& conduit(const std::string& id);
    static Pipe& pipe(const std::string& id);
};
