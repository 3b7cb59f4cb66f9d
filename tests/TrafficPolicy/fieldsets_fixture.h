// Builds field sets by hand and shows them.
#pragma once

#include <gmock/gmock.h>

#include "Captured.h"
#include "fieldsets/ShowFieldSets.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli::FieldSets {

using Captured::MemoryFile;
using Classification::ContentsSource;
using Classification::PortRange;
using Classification::VlanRange;
using Prefixes = std::vector<std::string_view>;

inline constexpr U32 textFormat = 1;
inline constexpr U32 jsonFormat = 2;

inline Wire::IpGenPrefix prefix(std::string_view text) { return *Wire::IpGenPrefix::parse(text); }

// Where a set comes from; static when not given.
struct Source {
    ContentsSource kind = ContentsSource::configured;
    std::string urlPath{};
    std::string urlVrf{};
};

template <class Version>
Orb::Ptr<Version> versionFrom(const Source& source) {
    const auto version = Orb::make<Version>();
    version->contentsSourceIs(source.kind);
    version->urlPathIs(source.urlPath);
    version->urlVrfIs(source.urlVrf);
    return version;
}

inline Orb::Ptr<Classification::FieldSetIpPrefixSubConfig> prefixVersion(
    const Prefixes& prefixes, const Prefixes& exceptPrefixes = {}, const Source& source = {}) {
    const auto version = versionFrom<Classification::FieldSetIpPrefixSubConfig>(source);
    for (const auto text : prefixes) version->prefixesIs(prefix(text));
    for (const auto text : exceptPrefixes) version->exceptPrefixesIs(prefix(text));
    return version;
}

// A set of the kind, with a current version or without one.
template <class Config, class Version = std::nullptr_t>
Orb::Ptr<Config> fieldSet(const std::string& name, const Version& version = nullptr) {
    const auto config = Orb::make<Config>(name);
    if (version) config->currCfgIs(version);
    return config;
}

inline auto prefixSet(const std::string& name) {
    return fieldSet<Classification::FieldSetIpPrefixConfig>(name);
}
template <class Version>
auto prefixSet(const std::string& name, const Version& version) {
    return fieldSet<Classification::FieldSetIpPrefixConfig>(name, version);
}
inline auto portSet(const std::string& name, const std::vector<PortRange>& ranges,
                    const Source& source = {}) {
    const auto version = versionFrom<Classification::FieldSetL4PortSubConfig>(source);
    for (const PortRange& range : ranges) version->portsIs(range);
    return fieldSet<Classification::FieldSetL4PortConfig>(name, version);
}
inline auto vlanSet(const std::string& name, const std::vector<VlanRange>& ranges,
                    const Source& source = {}) {
    const auto version = versionFrom<Classification::FieldSetVlanSubConfig>(source);
    for (const VlanRange& range : ranges) version->vlansIs(range);
    return fieldSet<Classification::FieldSetVlanConfig>(name, version);
}

inline Captured::Traces allTraces() { return {"TrafficPolicyShowCliHelper", 8}; }

// Renders a show object, with the activity lock held as a host does.
template <class Show>
std::string shown(const Orb::Ptr<Show>& show, U32 format) {
    const MemoryFile file;
    const Orb::ActivityLockGuard locked;
    show->render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

}  // namespace TrafficPolicyCli::FieldSets
