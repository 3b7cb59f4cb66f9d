// A counter store in a folder of its own, the status objects it is made from, and everything a
// reader sees of it as one table.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "TemporaryFolder.h"
#include "reef/PolicyMapReefCounterStatusReader.h"
#include "reef/StoreWriter.h"

namespace ReefTest {

using PolicyMap::PacketAndByte;
using PolicyMap::PacketDataStatus;
using PolicyMap::PolicyMapReefCounterStatusReader;
using PolicyMap::Counters::Direction;
using PolicyMap::Counters::PolicyMapTypeCounters;
using Reef::Identities;
using Reef::StoreManager;
using Reef::StoreWriter;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

struct Figure {
    U64 identity = 0;
    PacketAndByte count;
    friend bool operator==(const Figure&, const Figure&) = default;
};
inline void PrintTo(const Figure& figure, std::ostream* out) {
    *out << figure.identity << ": " << figure.count.stringValue();
}
// By "direction policy kind name [interface]".
using Figures = std::map<std::string, Figure>;

inline Orb::Ptr<PacketDataStatus> record(const std::string& name, const Figure& figure) {
    auto data = Orb::make<PacketDataStatus>(name, Keel::UniqueId{figure.identity});
    data->countIs(figure.count);
    return data;
}

// The status of a direction, and what a walk of a store made from it has to see.
struct Sample {
    Sample(const std::string& direction, U64 identity) {
        for (const std::string policyName : {"edge", "core", "none"}) {
            auto policy = Orb::make<PolicyMap::PolicyMapStatus>(policyName);
            status->policyMapStatusIs(policyName, policy);
            if (policyName == "none") continue;
            const auto entered = [&](const std::string& name, PacketAndByte count) {
                return figures[direction + " " + policyName + name] = Figure{++identity, count};
            };
            for (const std::string rule : {"web", "dns", "default", "\x1b\xff"}) {
                const U64 number = identity + 1;
                policy->classCounterIs(
                    rule, record(rule, entered(" rule " + rule, {number * 10, number * 640})));
            }
            policy->namedCounterIs("web", record("web", entered(" named web", {3, 192})));
            auto hits = record("hits", entered(" named hits", {3, 192}));
            for (const std::string name : {"Ethernet2", "Ethernet1"}) {
                const U64 packets = name == "Ethernet1" ? 1 : 2;
                const Figure figure = entered(" named hits " + name, {packets, 64});
                const Wire::IntfId intfId(name);
                auto row =
                    Orb::make<PolicyMap::IntfCountData>(intfId, Keel::UniqueId{figure.identity});
                row->countDataIs(figure.count);
                hits->perIntfCountIs(intfId, row);
            }
            policy->namedCounterIs("hits", hits);
        }
    }

    Orb::Ptr<TrafficPolicy::Status> status = Orb::make<TrafficPolicy::Status>();
    Figures figures;
};

inline void addFigures(Figures& figures, const std::string& prefix, const PacketDataStatus& data) {
    const std::string name = prefix + data.name().text();
    figures[name] = {data.uniqueId().value, data.count()};
    for (const auto& [intf, row] : data.perIntfCount()) {
        figures[name + " " + intf.stringValue()] = {row->uniqueId().value, row->countData()};
    }
}

// Walks all of a store; throws when it is not available.
inline Figures walk(const Orb::Ptr<StoreManager>& manager) {
    Figures figures;
    for (const Direction direction : {Direction::input, Direction::output}) {
        const std::string text = direction == Direction::input ? "input " : "output ";
        const PolicyMapTypeCounters counters(manager, direction);
        for (const auto& key : counters.policyMapKeys()) {
            const auto policy = counters.policyMapCounters(key);
            const std::string place = text + key.policyName;
            for (const auto& data : policy.classCounter)
                addFigures(figures, place + " rule ", *data);
            for (const auto& data : policy.namedCounter)
                addFigures(figures, place + " named ", *data);
        }
    }
    return figures;
}

class ReefScene : public testing::Test {
  protected:
    StoreWriter create(Identities identities = Identities::ofStatus) const {
        return StoreWriter::create(path, input.status, output.status, identities);
    }
    Orb::Ptr<StoreManager> manager() const { return Orb::make<StoreManager>(path); }
    PolicyMapReefCounterStatusReader reader() const {
        return PolicyMapReefCounterStatusReader(
            Orb::make<PolicyMapTypeCounters>(manager(), Direction::input));
    }
    Figures expected() const {
        Figures figures = input.figures;
        figures.insert(output.figures.begin(), output.figures.end());
        return figures;
    }
    // The one line on standard error that a damaged store is worth.
    std::string told(const std::string& damage) const {
        return "counter store " + path + ": " + damage + "; its counters are not available\n";
    }
    std::string contents() const { return contentsOf(path); }
    // Changes the file in place, as an agent would: mappings see it.
    void overwrite(std::size_t offset, std::string_view bytes) const {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(offset));
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    const TemporaryFolder temporary;
    const std::string folder = temporary.path();
    std::string path = temporary.file("counters.reef");
    const Sample input{"input", 100};
    const Sample output{"output", 200};
};

}  // namespace ReefTest
