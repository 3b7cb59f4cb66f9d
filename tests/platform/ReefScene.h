// A counter store in a folder of its own, the status objects it is made from, and everything a
// reader sees of it as one table.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

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

inline Orb::Ptr<const TrafficPolicy::Status> sampleStatus(U64 identity) {
    auto status = Orb::make<TrafficPolicy::Status>();
    for (const std::string policyName : {"edge", "core", "none"}) {
        auto policy = Orb::make<PolicyMap::PolicyMapStatus>(policyName);
        status->policyMapStatusIs(policyName, policy);
        if (policyName == "none") continue;
        for (const std::string rule : {"web", "dns", "default", "\x1b\xff"}) {
            ++identity;
            policy->classCounterIs(rule, record(rule, {identity, {identity * 10, identity * 640}}));
        }
        for (const std::string name : {"hits", "web"}) {
            auto named = record(name, {++identity, {3, 192}});
            for (const char* intf : {"Ethernet2", "Ethernet1"}) {
                if (name != "hits") continue;
                const Wire::IntfId intfId(intf);
                auto row = Orb::make<PolicyMap::IntfCountData>(intfId, Keel::UniqueId{++identity});
                row->countDataIs(PacketAndByte{intf[8] == '1' ? 1U : 2U, 64});
                named->perIntfCountIs(intfId, row);
            }
            policy->namedCounterIs(name, named);
        }
    }
    return status;
}

inline void addFigures(Figures& figures, const std::string& prefix, const PacketDataStatus& data) {
    figures[prefix + data.name()] = {data.uniqueId().value, data.count()};
    for (const auto& [intf, row] : data.perIntfCount()) {
        figures[prefix + data.name() + " " + intf.stringValue()] = {row->uniqueId().value,
                                                                    row->countData()};
    }
}

// Walks all of a store; throws when it is not available.
inline Figures walk(const Orb::Ptr<StoreManager>& manager) {
    Figures figures;
    for (const Direction direction : {Direction::input, Direction::output}) {
        const PolicyMapTypeCounters counters(manager, direction);
        for (const auto& key : counters.policyMapKeys()) {
            const auto prefix = (direction == Direction::input ? "input " : "output ") +
                                std::string(key.policyName);
            const auto policy = counters.policyMapCounters(key);
            for (const auto& data : policy.classCounter)
                addFigures(figures, prefix + " rule ", *data);
            for (const auto& data : policy.namedCounter)
                addFigures(figures, prefix + " named ", *data);
        }
    }
    return figures;
}

class ReefScene : public testing::Test {
  protected:
    ReefScene() {
        folder = (std::filesystem::temp_directory_path() / "reefXXXXXX").string();
        ::mkdtemp(folder.data());
        path = folder + "/counters.reef";
    }
    ~ReefScene() override { std::filesystem::remove_all(folder); }

    StoreWriter create(Identities identities = Identities::ofStatus) const {
        return StoreWriter::create(path, inputStatus, outputStatus, identities);
    }
    Orb::Ptr<StoreManager> manager() const { return Orb::make<StoreManager>(path); }
    PolicyMapReefCounterStatusReader reader() const {
        return PolicyMapReefCounterStatusReader(
            Orb::make<PolicyMapTypeCounters>(manager(), Direction::input));
    }
    // What a walk of the created store has to see.
    Figures expected() const {
        Figures figures;
        for (const auto& [direction, status] :
             {std::pair("input ", inputStatus), std::pair("output ", outputStatus)}) {
            for (const auto& [name, policy] : status->policyMapStatus()) {
                for (const auto& [rule, data] : policy->classCounter()) {
                    addFigures(figures, direction + name + " rule ", *data);
                }
                for (const auto& [counter, data] : policy->namedCounter()) {
                    addFigures(figures, direction + name + " named ", *data);
                }
            }
        }
        return figures;
    }
    // Of the one line on standard error that a damaged store is worth.
    std::string told(const std::string& damage) const {
        return "counter store " + path + ": " + damage + "; its counters are not available\n";
    }
    std::string contents() const {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    // Changes the file in place, as an agent would: mappings see it.
    void overwrite(std::size_t offset, std::string_view bytes) const {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(offset));
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    std::string folder;
    std::string path;
    Orb::Ptr<const TrafficPolicy::Status> inputStatus = sampleStatus(100);
    Orb::Ptr<const TrafficPolicy::Status> outputStatus = sampleStatus(200);
};

}  // namespace ReefTest
