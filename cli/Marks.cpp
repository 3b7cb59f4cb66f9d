#include "cli/Marks.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "base/Escape.h"
#include "base/Time.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/StateHome.h"
#include "state/DocumentWriter.h"
#include "textout/RendererV2.h"
#include "traffic-policy/CounterSnapshot.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;
using StateDirectory::DocumentWriter;
using StateDirectory::Marks;
using StateDirectory::Snapshots;
using StateDirectory::StateError;

constexpr std::size_t longestName = 255;

// Which state directory the marks are of, and the document that holds them.
struct MarksPlace {
    std::string stateDirectory;  // without links
    std::string folder;
    std::string stem;
    std::string path() const { return folder + "/" + stem + ".json"; }
};

// FNV-1a, 64 bits: file names have no room for all of a path.
std::string hashOf(std::string_view text) {
    U64 hash = 0xcbf29ce484222325;
    for (const char byte : text) hash = (hash ^ static_cast<U8>(byte)) * 0x100000001b3;
    char digits[20];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

MarksPlace placeOf(const std::string& stateDirectory, const std::filesystem::path& folder) {
    if (folder.empty()) {
        throw StateError(
            "there is no place to keep marks: name one in the environment variable HOME or "
            "XDG_STATE_HOME");
    }
    std::error_code error;
    const auto directory = std::filesystem::canonical(stateDirectory, error);
    if (error) {
        throw StateError(Base::escaped(stateDirectory) + ": " + error.message());
    }
    return {directory, folder, "marks-" + hashOf(directory.string())};
}
MarksPlace placeOf(const Session& session) {
    return placeOf(session.stateDirectory(), stateHome());
}
MarksPlace madePlaceOf(const Session& session) {
    return placeOf(session.stateDirectory(), madeStateHome());
}

Marks marksAt(const MarksPlace& place) {
    Marks marks = StateDirectory::readMarks(place.path());
    if (marks.stateDirectory.empty()) marks.stateDirectory = place.stateDirectory;
    if (marks.stateDirectory != place.stateDirectory) {
        throw StateError(Base::escaped(place.path()) + ": holds the marks of " +
                         inQuotes(marks.stateDirectory) + ", expected those of " +
                         inQuotes(place.stateDirectory));
    }
    return marks;
}

Snapshots& markNamed(Marks& marks, const Token& token) {
    const auto found = marks.marks.find(token.text);
    if (found != marks.marks.end()) return found->second;
    std::vector<std::string_view> names;
    for (const auto& [name, counts] : marks.marks) names.push_back(name);
    throw CommandError(
        token.position, inQuotes(token.text) + " is no mark of yours on this state directory",
        names.empty() ? "a mark, as \"mark before\" makes it" : Base::choiceText(names));
}

// The live counts of now. Returns how many counters that are.
U64 remember(const Session& session, Snapshots& counts) {
    const StateDirectory::State& state = session.currentState();
    U64 counters = 0;
    const auto remember = [&](const auto& helper) {
        helper->clearCounter();
        counters += helper->clearedCounters();
    };
    const auto rememberStatus = [&](const auto& status, const auto& target) {
        using TrafficPolicyCli::trafficPolicyHiveCounterSnapshotHelperFactory;
        if (status) remember(trafficPolicyHiveCounterSnapshotHelperFactory(status, target));
    };
    const auto rememberStore = [&](Direction direction, const auto& target) {
        remember(TrafficPolicyCli::trafficPolicyReefCounterSnapshotHelperFactory(
            session.counters(direction), target, true));
    };
    rememberStatus(state.cpu, counts.cpu);
    if (state.hwStatus && state.hwStatus->countersInReef()) {
        rememberStore(Direction::input, counts.interfaceInput);
        rememberStore(Direction::output, counts.interfaceOutput);
    } else if (state.hwStatus) {
        rememberStatus(state.interfaceInput, counts.interfaceInput);
        rememberStatus(state.interfaceOutput, counts.interfaceOutput);
    }
    if (!session.counterStore()->damage().empty() ||
        session.counterStore()->recordsNotAvailable() > 0) {
        throw StateError("not all counters can be read: nothing is marked");
    }
    const Orb::Seconds now = Orb::now();
    for (const auto& target : {counts.cpu, counts.interfaceInput, counts.interfaceOutput}) {
        target->timestampIs(now);
    }
    return counters;
}

U64 countersOf(const Snapshots& counts) {
    U64 counters = 0;
    for (const auto& target : {counts.cpu, counts.interfaceInput, counts.interfaceOutput}) {
        counters += U64{target->snapshot().size()} + target->namedSnapshot().size();
    }
    return counters;
}

void save(const DocumentWriter& writer, const Marks& marks) {
    const std::string failure = writer.save(StateDirectory::marksText(marks));
    if (!failure.empty()) complain(failure);
    // One that came while the document was put in place came too late to stop anything.
    Orb::interruptRequestedIs(false);
}

template <class Body>
int report(const Session& session, const Body& body) {
    textout::TextOutBuffer out(session.fd());
    textout::RendererV2 renderer(out, session.format(), session.revision());
    renderer.documentBegin();
    body(renderer);
    renderer.documentEnd();
    renderer.flush();
    return ExitStatus::success;
}

}  // namespace

Plan planMark(const Match& match) {
    const Token token = *match.find("MARK");
    if (!StateDirectory::canBeName(token.text) || token.text.size() > longestName) {
        throw CommandError(
            token.position, inQuotes(token.text) + " cannot be the name of a mark",
            "at most " + std::to_string(longestName) + " bytes without control characters");
    }
    return [name = token.text](const Session& session) {
        const MarksPlace place = madePlaceOf(session);
        const DocumentWriter writer(place.folder, place.stem, DocumentWriter::Access::ownerOnly);
        Marks marks = marksAt(place);
        Snapshots counts;
        const U64 counters = remember(session, counts);
        marks.marks.insert_or_assign(name, counts);
        save(writer, marks);
        return report(session, [&](textout::RendererV2& renderer) {
            renderer.pair("mark", name);
            renderer.pair("markedCounters", counters);
            renderer.text("Marked ").number(counters).text(" traffic-policy counters as ");
            renderer.name(name).endLine();
        });
    };
}

Plan planShowMarks(const Match&) {
    return [](const Session& session) {
        const Marks marks = marksAt(placeOf(session));
        return report(session, [&](textout::RendererV2& renderer) {
            if (marks.marks.empty()) renderer.text("No marks.").endLine();
            const auto list = renderer.list("marks");
            for (const auto& [name, counts] : marks.marks) {
                const std::string time = Base::timeText(counts.cpu->timestamp());
                const auto object = renderer.object();
                renderer.pair("mark", name);
                renderer.pair("time", time);
                renderer.pair("counters", countersOf(counts));
                renderer.name(name).text(": ").text(time).text(", ");
                renderer.number(countersOf(counts)).text(" counters").endLine();
            }
        });
    };
}

Plan planDeleteMark(const Match& match) {
    return [token = *match.find("MARK")](const Session& session) {
        const MarksPlace place = madePlaceOf(session);
        const DocumentWriter writer(place.folder, place.stem, DocumentWriter::Access::ownerOnly);
        Marks marks = marksAt(place);
        markNamed(marks, token);
        marks.marks.erase(token.text);
        save(writer, marks);
        return report(session, [&](textout::RendererV2& renderer) {
            renderer.pair("deleted", token.text);
            renderer.text("Deleted mark ").name(token.text).endLine();
        });
    };
}

std::vector<std::string> markNames(const std::string& stateDirectory) {
    std::vector<std::string> names;
    try {
        for (const auto& [name, counts] : marksAt(placeOf(stateDirectory, stateHome())).marks) {
            names.push_back(name);
        }
    } catch (const StateError&) {
        // The commands about marks say what is wrong.
    }
    return names;
}

Snapshots countsOfMark(const Session& session, const Token& mark) {
    Marks marks = marksAt(placeOf(session));
    return markNamed(marks, mark);
}

}  // namespace Cli
