// One entry per protocol, with its details one level deeper: TCP flags, ports, ICMP types.
#include "views/ProtocolView.h"

#include <array>
#include <span>

#include "orb/Assert.h"
#include "views/FieldSetReferenceView.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {

namespace {

using Classification::TcpFlag;
using PolicyMap::ClassMapMatchOption;
using textout::RendererV2;
using ProtoFieldPtr = Orb::Ptr<const Classification::ProtoField>;
using PortFieldPtr = Orb::Ptr<const Classification::PortField>;

constexpr Classification::ProtocolRange tcp(6, 6);

bool showsAll(U32 revision, U32 format) {
    return revision > 1 || format == static_cast<U32>(textout::OutputFormat_t::text);
}

void renderTcpFlagGroup(RendererV2& renderer, std::string_view label, std::string_view jsonKey,
                        const Classification::TcpFlagAndMask& group, U32 indent) {
    std::array<const TcpFlag*, std::size(Classification::tcpFlags)> found{};
    std::size_t count = 0;
    for (const TcpFlag& flag : Classification::tcpFlags) {
        if ((group.mask & flag.bit) != 0) found[count++] = &flag;
    }
    const auto activeFlags = std::span(found).first(count);
    ORB_ASSERT(activeFlags.size() != 0);  // NOLINT(readability-container-size-empty)

    const auto list = renderer.list(jsonKey);
    for (const TcpFlag* const flag : activeFlags) {
        const bool flagBool = (group.flag & flag->bit) != 0;
        beginItem(renderer, label, indent, flag == activeFlags.front());
        renderer.text(flag->name);
        if (flag->isKeyword) {
            ORB_ASSERT(activeFlags.size() == 1);
            ORB_ASSERT(flagBool);
        } else {
            renderer.text(flagBool ? ":1" : ":0");
        }
        renderer.endLine();
        const auto object = renderer.object();
        renderer.pair("name", flag->name);
        renderer.pair("value", flagBool);
    }
}

void renderTcpFlags(RendererV2& renderer, const ProtoFieldPtr& protoField, U32 indent, U32 revision,
                    U32 format) {
    SHOW_TRACE_ENTRY();
    constexpr std::string_view label = "TCP flags";
    const std::string_view jsonKey = jsonNameOf(label);
    const auto& groups = protoField->tcpFlags();
    if (!showsAll(revision, format)) {
        const auto* const first = std::min_element(groups.begin(), groups.end());
        return renderTcpFlagGroup(renderer, label, jsonKey, *first, indent);
    }
    const auto list = renderer.list("tcpFlagGroups");
    forEachAscending(groups, [&](const Classification::TcpFlagAndMask& group, bool) {
        const auto object = renderer.object();
        renderTcpFlagGroup(renderer, label, jsonKey, group, indent);
    });
}

// One side of a port field.
struct PortSide {
    std::string_view label;
    std::string_view expandedKey;
    std::string_view namesKey;
    const Orb::HashSet2018<Classification::PortRange>& (Classification::PortField::*ports)() const;
    const FieldSetNames& (Classification::PortField::*fieldSets)() const;
};

constexpr PortSide portSides[] = {
    {"Source port", "srcExtL4PortFieldSet", "srcL4PortFieldSets", &Classification::PortField::sport,
     &Classification::PortField::sportFieldSets},
    {"Destination port", "destExtL4PortFieldSet", "destL4PortFieldSets",
     &Classification::PortField::dport, &Classification::PortField::dportFieldSets},
};

void renderL4Ports(RendererV2& renderer, const Orb::Ptr<const FieldSetState>& fieldSetState,
                   const PortFieldPtr& portField, bool detail, U32 indent,
                   ClassMapMatchOption matchOption) {
    SHOW_TRACE_ENTRY();
    for (const PortSide& side : portSides) {
        if (const auto& ports = (*portField.*side.ports)()) {
            renderNumericalRange(renderer, side.label, ports, indent, matchOption);
        }
        if (const auto& names = (*portField.*side.fieldSets)()) {
            renderL4PortFieldSet(renderer, fieldSetState, side.label, side.expandedKey, names,
                                 detail, indent, true);
            renderL4PortFieldSet(renderer, fieldSetState, side.label, side.namesKey, names, detail,
                                 indent, false);
        }
    }
}

void renderPortFields(RendererV2& renderer, const Orb::Ptr<const FieldSetState>& fieldSetState,
                      const Orb::Array<PortFieldPtr>& portFields, bool detail, U32 indent,
                      ClassMapMatchOption matchOption, U32 revision, U32 format) {
    if (!showsAll(revision, format)) {
        return renderL4Ports(renderer, fieldSetState, *portFields.begin(), detail, indent,
                             matchOption);
    }
    const auto list = renderer.list("ports");
    for (const PortFieldPtr& portField : portFields) {
        const auto object = renderer.object();
        renderL4Ports(renderer, fieldSetState, portField, detail, indent, matchOption);
    }
}

void renderIcmpTypes(RendererV2& renderer, const Orb::Array<Classification::IcmpTypeRange>& types,
                     U32 indent, ClassMapMatchOption matchOption) {
    SHOW_TRACE_ENTRY();
    const auto list = renderer.list("icmps");
    forEachAscending(types, [&](const Classification::IcmpTypeRange& type, bool) {
        const auto object = renderer.object();
        {
            const auto bounds = renderer.object(jsonNameOf("ICMP type"));
            renderBounds(renderer, type);
        }
        // Each type begins a list of its own, because its codes stand below it.
        renderRangeItem(renderer, "ICMP type", type, indent, matchOption, true);
        if (type.codes.empty()) renderer.indent(indent).text("ICMP code: all").endLine();
        renderNumericalRange(renderer, "ICMP code", type.codes, indent, matchOption);
    });
}

}  // namespace

void renderProtocol(RendererV2& renderer, const Orb::Ptr<const FieldSetState>& fieldSetState,
                    std::string_view label,
                    const Orb::Ptr<const Classification::StructuredFilter>& structuredFilter,
                    bool inner, U32 indent, U32 indentPerLevel, ClassMapMatchOption matchOption,
                    bool detail, U32 revision, U32 format) {
    SHOW_TRACE_ENTRY();
    using Entry = Orb::MapEntry<Classification::ProtocolRange, ProtoFieldPtr>;
    const U32 detailIndent = indent + indentPerLevel;
    const auto renderEntry = [&](const Entry& entry, bool isFirst) {
        const auto object = renderer.object();
        {
            const auto bounds = renderer.object("protocolRange");
            renderBounds(renderer, entry.key);
        }
        renderRangeItem(renderer, label, entry.key, indent, matchOption, isFirst);
        const ProtoFieldPtr& protoField = entry.value;
        if (!protoField) return;
        if (entry.key == tcp && protoField->tcpFlags() && !inner) {
            renderTcpFlags(renderer, protoField, detailIndent, revision, format);
        }
        if (protoField->portFields()) {
            renderPortFields(renderer, fieldSetState, protoField->portFields(), detail,
                             detailIndent, matchOption, revision, format);
        }
        if (protoField->icmpTypes()) {
            renderIcmpTypes(renderer, protoField->icmpTypes(), detailIndent, matchOption);
        }
    };
    const auto list = renderer.list(jsonNameOf(label));
    forEachAscending(structuredFilter->protocols(), renderEntry,
                     [](const Entry& a, const Entry& b) { return a.key < b.key; });
}

}  // namespace TrafficPolicyCli
