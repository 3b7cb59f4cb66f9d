// Members of maps that a reader in pieces has passed over, and may read when all names are known.
#pragma once

#include <functional>
#include <string_view>

#include "orb/Types.h"

namespace StateDirectory {

class Node;
class Pieces;

struct PassedOver {
    Orb::String name;
    // Where the map, the member, its value and its end are in the document.
    std::size_t map;
    std::size_t begin;
    std::size_t value;
    std::size_t end;
    std::function<void(const Node& value)> read;
};

// Reads those that are wanted, on two threads. Throws what their functions throw, and NotInPieces.
void readPassedOver(Pieces& pieces, const std::function<bool(std::string_view name)>& isWanted);

}  // namespace StateDirectory
