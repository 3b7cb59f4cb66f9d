// One entry per protocol, with its details one level deeper: TCP flags, ports, ICMP types.
#include "views/ProtocolView.h"

#include <array>
#include <span>

#include "orb/Assert.h"
#include "views/FieldSetReferenceView.h"

namespace TrafficPolicyCli {

namespace {

using Classification::TcpFlag;
using textout::RendererV2;
using ProtoFieldPtr = Orb::Ptr<const Classification::ProtoField>;
using PortFieldPtr = Orb::Ptr<const Classification::PortField>;

constexpr Classification::ProtocolRange tcp(6, 6);

constexpr std::string_view tcpFlagsLabel = "TCP flags";

bool showsAll(const RendererV2& renderer) { return renderer.revision() > 1 || renderer.isText(); }

// A keyword is the only flag of its group, and set.
void assertKeyword(std::span<const TcpFlag* const> activeFlags, bool flagBool) {
    ORB_ASSERT(activeFlags.size() == 1);
    ORB_ASSERT(flagBool);
}

void renderTcpFlagGroup(const CriteriaView& view, std::string_view jsonKey,
                        const Classification::TcpFlagAndMask& group) {
    RendererV2& renderer = view.renderer;
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
        beginItem(view, tcpFlagsLabel, flag == activeFlags.front());
        renderer.text(flag->name);
        if (flag->isKeyword) {
            assertKeyword(activeFlags, flagBool);
        } else {
            renderer.text(flagBool ? ":1" : ":0");
        }
        renderer.endLine();
        const auto object = renderer.object();
        renderer.pair("name", flag->name);
        renderer.pair("value", flagBool);
    }
}

void renderTcpFlags(const CriteriaView& view, const Classification::ProtoField& protoField) {
    SHOW_TRACE_ENTRY();
    const std::string_view jsonKey = jsonNameOf(tcpFlagsLabel);
    const auto& groups = protoField.tcpFlags();
    if (!showsAll(view.renderer)) {
        const auto* const first = std::min_element(groups.begin(), groups.end());
        return renderTcpFlagGroup(view, jsonKey, *first);
    }
    const auto list = view.renderer.list("tcpFlagGroups");
    forEachAscending(view.scratch, groups, [&](const Classification::TcpFlagAndMask& group, bool) {
        const auto object = view.renderer.object();
        renderTcpFlagGroup(view, jsonKey, group);
    });
}

// One end of a port field.
struct PortEnd {
    std::string_view label;
    std::string_view expandedKey;
    std::string_view namesKey;
    const Orb::HashSet2018<Classification::PortRange>& (Classification::PortField::*ports)() const;
    const FieldSetNames& (Classification::PortField::*fieldSets)() const;
};

constexpr PortEnd portEnds[] = {
    {"Source port", "srcExtL4PortFieldSet", "srcL4PortFieldSets", &Classification::PortField::sport,
     &Classification::PortField::sportFieldSets},
    {"Destination port", "destExtL4PortFieldSet", "destL4PortFieldSets",
     &Classification::PortField::dport, &Classification::PortField::dportFieldSets},
};

void renderL4Ports(const CriteriaView& view, const Classification::PortField& portField) {
    SHOW_TRACE_ENTRY();
    for (const PortEnd& end : portEnds) {
        if (const auto& ports = (portField.*end.ports)()) {
            renderNumericalRange(view, end.label, ports);
        }
        if (const auto& names = (portField.*end.fieldSets)()) {
            renderL4PortFieldSet(view, end.label, end.expandedKey, names, true);
            renderL4PortFieldSet(view, end.label, end.namesKey, names, false);
        }
    }
}

void renderPortFields(const CriteriaView& view, const Orb::Array<PortFieldPtr>& portFields) {
    if (!showsAll(view.renderer)) return renderL4Ports(view, **portFields.begin());
    const auto list = view.renderer.list("ports");
    for (const PortFieldPtr& portField : portFields) {
        const auto object = view.renderer.object();
        renderL4Ports(view, *portField);
    }
}

void renderIcmpTypes(const CriteriaView& view,
                     const Orb::Array<Classification::IcmpTypeRange>& types) {
    SHOW_TRACE_ENTRY();
    RendererV2& renderer = view.renderer;
    const auto list = renderer.list("icmps");
    forEachAscending(view.scratch, types, [&](const Classification::IcmpTypeRange& type, bool) {
        const auto object = renderer.object();
        {
            const auto bounds = renderer.object(jsonNameOf("ICMP type"));
            renderBounds(renderer, type);
        }
        // Each type begins a list of its own, because its codes stand below it.
        renderRangeItem(view, "ICMP type", type, true);
        if (type.codes.empty()) renderer.indent(view.indent).text("ICMP code: all").endLine();
        renderNumericalRange(view, "ICMP code", type.codes);
    });
}

// What a rule asks of the layer-4 header of a protocol.
void renderProtoField(const CriteriaView& view, const Classification::ProtoField& protoField,
                      bool showsTcpFlags) {
    if (showsTcpFlags && protoField.tcpFlags()) renderTcpFlags(view, protoField);
    if (protoField.portFields()) renderPortFields(view, protoField.portFields());
    if (protoField.icmpTypes()) renderIcmpTypes(view, protoField.icmpTypes());
}

}  // namespace

void renderProtocol(const CriteriaView& view,
                    const Classification::StructuredFilter& structuredFilter, bool inner) {
    SHOW_TRACE_ENTRY();
    using Entry = Orb::MapEntry<Classification::ProtocolRange, ProtoFieldPtr>;
    constexpr std::string_view label = "Protocol";
    const auto renderEntry = [&](const Entry& entry, bool isFirst) {
        const auto object = view.renderer.object();
        {
            const auto bounds = view.renderer.object("protocolRange");
            renderBounds(view.renderer, entry.key);
        }
        renderRangeItem(view, label, entry.key, isFirst);
        if (!entry.value) return;
        renderProtoField(view.deeperBy(view.indentPerLevel), *entry.value,
                         entry.key == tcp && !inner);
    };
    const auto list = view.renderer.list(jsonNameOf(label));
    forEachAscending(view.scratch, structuredFilter.protocols(), renderEntry,
                     [](const Entry& a, const Entry& b) { return a.key < b.key; });
}

}  // namespace TrafficPolicyCli
