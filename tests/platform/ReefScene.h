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

inline Orb::Ptr<const TrafficPolicy::Status> sampleStatus(U64 firstIdentity) {
    auto status = Orb::make<TrafficPolicy::Status>();
    U64 identity = firstIdentity;
    for (const std::string policyName : {"edge", "core", "none"}) {
        auto policy = Orb::make<PolicyMap::PolicyMapStatus>(policyName);
        if (policyName != "none") {
            for (const std::string rule : {"web", "dns", "default", "\x1b\xff"}) {
                ++identity;
                policy->classCounterIs(rule,
                                       record(rule, {identity, {identity * 10, identity * 640}}));
            }
            for (const std::string name : {"hits", "web"}) {
                ++identity;
                auto named = record(name, {identity, {3, 192}});
                for (const char* intf : {"Ethernet2", "Ethernet1"}) {
                    ++identity;
                    auto row = Orb::make<PolicyMap::IntfCountData>(Wire::IntfId(intf),
                                                                   Keel::UniqueId{identity});
                    row->countDataIs(PacketAndByte{intf[8] == '1' ? 1U : 2U, 64});
                    if (name == "hits") named->perIntfCountIs(row->intfId(), row);
                }
                policy->namedCounterIs(name, named);
            }
        }
        status->policyMapStatusIs(policyName, policy);
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

inline Figures figuresOf(const std::string& direction, const TrafficPolicy::Status& status) {
    Figures figures;
    for (const auto& [name, policy] : status.policyMapStatus()) {
        std::string prefix = direction;
        prefix.append(" ").append(name);
        for (const auto& entry : policy->classCounter()) {
            addFigures(figures, prefix + " rule ", *entry.value);
        }
        for (const auto& entry : policy->namedCounter()) {
            addFigures(figures, prefix + " named ", *entry.value);
        }
    }
    return figures;
}

// Walks all of a store; throws when it is not available.
inline Figures walk(const Orb::Ptr<StoreManager>& manager) {
    Figures figures;
    for (const Direction direction : {Direction::input, Direction::output}) {
        const PolicyMapTypeCounters counters(manager, direction);
        const std::string text = direction == Direction::input ? "input " : "output ";
        for (const auto& key : counters.policyMapKeys()) {
            const auto policy = counters.policyMapCounters(key);
            for (const auto& data : policy.classCounter) {
                addFigures(figures, text + key.policyName + " rule ", *data);
            }
            for (const auto& data : policy.namedCounter) {
                addFigures(figures, text + key.policyName + " named ", *data);
            }
        }
    }
    return figures;
}

class ReefScene : public testing::Test {
  protected:
    ReefScene() {
        std::string name = (std::filesystem::temp_directory_path() / "reefXXXXXX").string();
        folder = ::mkdtemp(name.data());
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
    Figures expected() const {
        Figures figures = figuresOf("input", *inputStatus);
        figures.merge(figuresOf("output", *outputStatus));
        return figures;
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
