#include "state/PassedOver.h"

#include <deque>
#include <span>

#include "state/Node.h"
#include "state/SecondThread.h"

namespace StateDirectory {

namespace {

// Members that stand one behind the other, in a text of a run's size.
using Row = std::span<const PassedOver>;

// The row that begins with the first of them. REQUIRES: that one is wanted.
template <class IsWanted>
Row rowFrom(Row members, const IsWanted& isWanted, std::size_t runSize) {
    const PassedOver& first = members.front();
    std::size_t count = 1;
    while (count < members.size() && members[count].map == first.map &&
           members[count].end - first.begin <= runSize && isWanted(members[count].name)) {
        ++count;
    }
    return members.first(count);
}

void readRow(Row row, const Node& parent, const simdjson::dom::object& run) {
    for (const auto& [name, element] : run) {
        if (row.empty() || row.front().name != name) throw NotInPieces();
        row.front().read(Node(parent, Step{name}, element));
        row = row.subspan(1);
    }
    if (!row.empty()) throw NotInPieces();
}

}  // namespace

void readPassedOver(Pieces& pieces, const std::function<bool(std::string_view name)>& isWanted) {
    const Node parent(pieces);
    std::deque<OfferedRun> runs;
    {
        const SecondThread::Finishing finishing(pieces.second());
        for (Row rest = pieces.passedOver(); !rest.empty();) {
            if (!isWanted(rest.front().name)) {
                rest = rest.subspan(1);
                continue;
            }
            const Row row = rowFrom(rest, isWanted, pieces.runSize());
            rest = rest.subspan(row.size());
            const std::size_t size = row.back().end - row.front().begin;
            if (size > pieces.runSize()) {
                pieces.goTo(row.front().value);
                row.front().read(parent);
                continue;
            }
            OfferedRun& run = runs.emplace_back();
            run.text = pieces.membersAt(row.front().begin, size);
            run.offer(pieces.second(), [row, &parent](simdjson::dom::element members) {
                readRow(row, parent, simdjson::dom::object(members));
            });
        }
    }
    for (const OfferedRun& run : runs) {
        if (run.fault) std::rethrow_exception(run.fault);
    }
}

}  // namespace StateDirectory
