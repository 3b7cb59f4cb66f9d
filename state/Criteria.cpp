#include "state/Criteria.h"

#include <algorithm>
#include <iterator>

#include "state/Attributes.h"
#include "state/Shared.h"

namespace StateDirectory {

using namespace Classification;
using PolicyMap::ClassMapMatchOption;
using Wire::AddressFamily;

namespace {

// A filter being read, with what its rule or inner header says about its criteria.
struct Filter {
    StructuredFilter& filter;
    std::optional<AddressFamily> family;  // of its prefixes; none: both
    bool takesProtocols;

    using Source = StructuredFilter;
    StructuredFilter& record() const { return filter; }
};

constexpr Key<VlanRangeSet> vlanTagKeys[] = {
    ATTRIBUTE_KEY(VlanRangeSet, vlans),
    ATTRIBUTE_KEY(VlanRangeSet, vlanFieldSets),
};

void readVlanTags(const Node& node, StructuredFilter& filter) {
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
        auto tag = Orb::make<VlanRangeSet>();
        readObject(item, vlanTagKeys, *tag);
        if (tag->vlans() && tag->vlanFieldSets()) {
            item.refuse("both \"vlans\" and \"vlanFieldSets\"", "one of them");
        }
        filter.vlanTagsIs(filter.vlanTags().size(), Orb::Ptr<const VlanRangeSet>(tag));
    }
}

void writeVlanTags(Writer& writer, const StructuredFilter& filter) {
    writeSet(writer, filter.vlanTags(),
             [&](const auto& tag) { writeObject(writer, vlanTagKeys, *tag); });
}

constexpr Key<PortField> portFieldKeys[] = {
    ATTRIBUTE_KEY(PortField, sport),
    ATTRIBUTE_KEY(PortField, sportFieldSets),
    ATTRIBUTE_KEY(PortField, dport),
    ATTRIBUTE_KEY(PortField, dportFieldSets),
};

void readPortFields(const Node& node, ProtoField& proto) {
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
        auto field = Orb::make<PortField>();
        readObject(item, portFieldKeys, *field);
        proto.portFieldsIs(proto.portFields().size(), Orb::Ptr<const PortField>(field));
    }
}

constexpr Key<TcpFlagAndMask> tcpFlagKeys[] = {
    {"mask",
     [](const Node& node, TcpFlagAndMask& to) {
         to.mask = static_cast<U16>(node.number({0, 0xffff}));
     },
     [](Writer& writer, const TcpFlagAndMask& from) { writer.number(from.mask); },
     Presence::required},
    {"flag",
     [](const Node& node, TcpFlagAndMask& to) {
         to.flag = static_cast<U16>(node.number({0, 0xffff}));
     },
     [](Writer& writer, const TcpFlagAndMask& from) { writer.number(from.flag); },
     Presence::required},
};

constexpr U16 knownTcpFlags() {
    U16 bits = 0;
    for (const TcpFlag& flag : tcpFlags) bits |= flag.bit;
    return bits;
}

// "a sum of 1, 2, 4, or 256": the bits that may stand together, and those that are alone.
std::string tcpMasks() {
    std::string together;
    std::string alone;
    for (U32 bit = 1; bit <= knownTcpFlags(); bit *= 2) {
        const auto* const flag = std::ranges::find(tcpFlags, bit, &TcpFlag::bit);
        if (flag == std::end(tcpFlags)) continue;
        (flag->isKeyword ? alone : together) +=
            (flag->isKeyword ? ", or " : ", ") + std::to_string(bit);
    }
    return "a sum of " + together.substr(2) + alone;
}

TcpFlagAndMask readTcpFlagGroup(const Node& node) {
    TcpFlagAndMask group;
    readObject(node, tcpFlagKeys, group);
    const U16 mask = group.mask;
    if (mask == 0) node.member("mask").refuse("the mask is 0", "at least one flag");
    if ((mask & ~knownTcpFlags()) != 0) {
        node.member("mask").refuse(std::to_string(mask) + " has bits that are not TCP flags",
                                   tcpMasks());
    }
    if ((group.flag & ~mask) != 0) {
        node.member("flag").refuse(std::to_string(group.flag) + " has bits outside the mask",
                                   "bits of the mask " + std::to_string(mask));
    }
    // From the last on: of two keywords the message names the lower bit.
    for (auto flag = std::rbegin(tcpFlags); flag != std::rend(tcpFlags); ++flag) {
        const TcpFlag& keyword = *flag;
        if (!keyword.isKeyword || (mask & keyword.bit) == 0) continue;
        if (mask != keyword.bit) {
            node.refuse(inQuotes(keyword.name) + " with other flags", "it alone in its group");
        }
        if (group.flag != keyword.bit) {
            node.refuse(inQuotes(keyword.name) + " is not set", "its bit in \"flag\"");
        }
    }
    return group;
}

constexpr Key<IcmpTypeRange> icmpTypeKeys[] = {
    {"type",
     [](const Node& node, IcmpTypeRange& to) {
         const NumericalRange range = readRange(node, IcmpTypeRange::bounds);
         to.low = range.low;
         to.high = range.high;
     },
     [](Writer& writer, const IcmpTypeRange& from) { writeRange(writer, from); },
     Presence::required},
    {"codes",
     [](const Node& node, IcmpTypeRange& to) {
         to.codes = ValueForm<Orb::HashSet2018<IcmpCodeRange>>::read(node);
     },
     [](Writer& writer, const IcmpTypeRange& from) { writeValue(writer, from.codes); }},
};

void readIcmpTypes(const Node& node, ProtoField& proto) {
    Orb::HashSet2018<NumericalRange> seen;
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
        IcmpTypeRange types;
        readObject(item, icmpTypeKeys, types);
        const NumericalRange range(types.low, types.high);
        if (seen.contains(range))
            item.member("type").refuse("this type appears twice", "each type once");
        seen.insertNew(range);
        proto.icmpTypesIs(proto.icmpTypes().size(), std::move(types));
    }
}

constexpr Key<ProtoField> protoFieldKeys[] = {
    {"portFields", readPortFields,
     [](Writer& writer, const ProtoField& from) {
         writeSet(writer, from.portFields(),
                  [&](const auto& field) { writeObject(writer, portFieldKeys, *field); });
     }},
    {"tcpFlags",
     [](const Node& node, ProtoField& to) {
         to.tcpFlagsIs(readSet<Orb::HashSet2018<TcpFlagAndMask>>(node, readTcpFlagGroup));
     },
     [](Writer& writer, const ProtoField& from) {
         writeSet(writer, from.tcpFlags(),
                  [&](const auto& group) { writeObject(writer, tcpFlagKeys, group); });
     }},
    {"icmpTypes", readIcmpTypes,
     [](Writer& writer, const ProtoField& from) {
         writeSet(writer, from.icmpTypes(),
                  [&](const auto& types) { writeObject(writer, icmpTypeKeys, types); });
     }},
};

// Null when nothing is asked of the layer-4 header, as for most protocols.
Orb::Ptr<const ProtoField> readProtoField(const Node& node) {
    if (node.object().size() == 0) return nullptr;
    auto proto = Orb::make<ProtoField>();
    readObject(node, protoFieldKeys, *proto);
    return proto;
}

void readProtocols(const Node& node, Filter& to) {
    using Protocols = Orb::HashMap2018<ProtocolRange, Orb::Ptr<const ProtoField>>;
    auto protocols = readMap<Protocols>(node, protocolKey, [](const Node& member, auto&) {
        return Shared::value<readProtoField>(member);
    });
    if (protocols && !to.takesProtocols) {
        node.refuse("protocols in a rule for " +
                        inQuotes(PolicyMap::matchOptionName(ClassMapMatchOption::mac)) + " or " +
                        inQuotes(PolicyMap::matchOptionName(ClassMapMatchOption::mpls)),
                    "none");
    }
    to.filter.protocolsIs(std::move(protocols));
}

void writeProtocols(Writer& writer, const StructuredFilter& filter) {
    writeMap(writer, filter.protocols(), [&](const Orb::Ptr<const ProtoField>& proto) {
        if (proto) {
            writeObject(writer, protoFieldKeys, *proto);
        } else {
            writer.object([] {});
        }
    });
}

constexpr std::string_view fragmentWords[] = {"matchAll", "matchOffset"};

struct FragmentParts {
    using Source = Fragment;
    FragmentType type = FragmentType::matchAll;
    Orb::HashSet2018<FragmentOffsetRange> offset;
};

constexpr Key<FragmentParts> fragmentKeys[] = {
    {"type",
     [](const Node& node, FragmentParts& to) {
         to.type =
             node.oneOf(fragmentWords) == 0 ? FragmentType::matchAll : FragmentType::matchOffset;
     },
     [](Writer& writer, const Fragment& from) {
         writer.text(fragmentWords[from.type() == FragmentType::matchAll ? 0 : 1]);
     },
     Presence::required},
    {"offset",
     [](const Node& node, FragmentParts& to) {
         to.offset = ValueForm<Orb::HashSet2018<FragmentOffsetRange>>::read(node);
     },
     ATTRIBUTE_WRITER(FragmentParts, offset)},
};

void readFragment(const Node& node, Filter& to) {
    FragmentParts parts;
    readObject(node, fragmentKeys, parts);
    auto fragment = Orb::make<Fragment>(parts.type);
    fragment->offsetIs(std::move(parts.offset));
    to.filter.fragmentIs(Orb::Ptr<const Fragment>(fragment));
}

void writeFragment(Writer& writer, const StructuredFilter& filter) {
    if (filter.fragment()) writeObject(writer, fragmentKeys, *filter.fragment());
}

constexpr std::string_view familyWords[] = {"ipv4", "ipv6"};

void writeFilter(Writer& writer, const StructuredFilter& filter);

struct InnerMatchParts {
    using Source = InnerMatch;
    AddressFamily family = AddressFamily::ipv4;
    EncapsulationType encapsulation = EncapsulationType::gtpv1;
};

constexpr Key<InnerMatchParts> innerMatchKeys[] = {
    {"af",
     [](const Node& node, InnerMatchParts& to) {
         to.family = node.oneOf(familyWords) == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6;
     },
     [](Writer& writer, const InnerMatch& from) {
         writer.text(familyWords[from.af() == AddressFamily::ipv4 ? 0 : 1]);
     },
     Presence::required},
    {"encapType",
     [](const Node& node, InnerMatchParts& to) {
         to.encapsulation = ValueForm<EncapsulationType>::read(node);
     },
     ATTRIBUTE_WRITER(InnerMatchParts, encapType), Presence::required},
    // Read when the family of its prefixes is known.
    {"structuredFilter", [](const Node&, InnerMatchParts&) {},
     [](Writer& writer, const InnerMatch& from) {
         writeFilter(writer, from.structuredFilter() ? *from.structuredFilter()
                                                     : *Orb::make<StructuredFilter>());
     },
     Presence::required},
};

Orb::Ptr<const StructuredFilter> readFilter(const Node& node, std::optional<AddressFamily> family,
                                            bool takesProtocols);

void readInnerMatch(const Node& node, Filter& to) {
    InnerMatchParts parts;
    readObject(node, innerMatchKeys, parts);
    auto inner = Orb::make<InnerMatch>(parts.family, parts.encapsulation);
    inner->structuredFilterIs(readFilter(node.member("structuredFilter"), parts.family, true));
    to.filter.innerMatchIs(Orb::Ptr<const InnerMatch>(inner));
}

void writeInnerMatch(Writer& writer, const StructuredFilter& filter) {
    if (filter.innerMatch()) writeObject(writer, innerMatchKeys, *filter.innerMatch());
}

// A row of prefixes, which are of the filter's family.
#define PREFIXES_KEY(attribute)                                                                   \
    Key<Filter> {                                                                                 \
#attribute,                                                                                     \
            [](const Node& node, Filter& to) {                                                    \
                to.filter.attribute##Is(readPrefixes(node, to.family));                           \
            }, [](Writer& writer,                                                                 \
                  const StructuredFilter& from) { writePrefixes(writer, from.attribute()); } \
    }

constexpr Key<Filter> filterKeys[] = {
    {"vlanTags", [](const Node& node, Filter& to) { readVlanTags(node, to.filter); },
     writeVlanTags},
    PREFIXES_KEY(sources),
    ATTRIBUTE_KEY(Filter, srcPrefixSets),
    PREFIXES_KEY(sourceLpms),
    ATTRIBUTE_KEY(Filter, srcLpmPrefixSets),
    PREFIXES_KEY(destinations),
    ATTRIBUTE_KEY(Filter, dstPrefixSets),
    PREFIXES_KEY(destinationLpms),
    ATTRIBUTE_KEY(Filter, dstLpmPrefixSets),
    {"protocols", readProtocols, writeProtocols},
    ATTRIBUTE_KEY(Filter, length),
    {"fragment", readFragment, writeFragment},
    ATTRIBUTE_KEY(Filter, dscp),
    ATTRIBUTE_KEY(Filter, ecn),
    ATTRIBUTE_KEY(Filter, ttl),
    ATTRIBUTE_KEY(Filter, neighborsProtocol),
    ATTRIBUTE_KEY(Filter, l4Protocol),
    ATTRIBUTE_KEY(Filter, ipOptions),
    ATTRIBUTE_KEY(Filter, tracked),
    {"otherCriteria",
     [](const Node& node, Filter& to) {
         to.filter.otherCriteriaIs(readSet<Orb::HashSet2018<Orb::String>>(node, readText));
     },
     ATTRIBUTE_WRITER(Filter, otherCriteria)},
    {"innerMatch", readInnerMatch, writeInnerMatch},
};

void writeFilter(Writer& writer, const StructuredFilter& filter) {
    writeObject(writer, filterKeys, filter);
}

struct AddressForm {
    std::string_view key;
    bool isPresent;
};

void refuseTwoForms(const Node& node, std::initializer_list<AddressForm> forms, const char* side) {
    const auto isPresent = [](const AddressForm& form) { return form.isPresent; };
    const auto* const first = std::find_if(forms.begin(), forms.end(), isPresent);
    if (first == forms.end()) return;
    const auto* const second = std::find_if(first + 1, forms.end(), isPresent);
    if (second == forms.end()) return;
    node.refuse("both " + inQuotes(first->key) + " and " + inQuotes(second->key),
                std::string("one form of the ") + side);
}

Orb::Ptr<const StructuredFilter> readFilter(const Node& node, std::optional<AddressFamily> family,
                                            bool takesProtocols) {
    auto filter = Orb::make<StructuredFilter>();
    Filter reading{*filter, family, takesProtocols};
    readObject(node, filterKeys, reading);
    refuseTwoForms(node,
                   {{"sources", !filter->sources().empty()},
                    {"srcPrefixSets", !filter->srcPrefixSets().empty()},
                    {"sourceLpms", !filter->sourceLpms().empty()},
                    {"srcLpmPrefixSets", !filter->srcLpmPrefixSets().empty()}},
                   "source");
    refuseTwoForms(node,
                   {{"destinations", !filter->destinations().empty()},
                    {"dstPrefixSets", !filter->dstPrefixSets().empty()},
                    {"destinationLpms", !filter->destinationLpms().empty()},
                    {"dstLpmPrefixSets", !filter->dstLpmPrefixSets().empty()}},
                   "destination");
    return filter;
}

}  // namespace

Orb::Ptr<const StructuredFilter> readStructuredFilter(const Node& node,
                                                      ClassMapMatchOption option) {
    // The rules are walked by every command, what they match is printed by few.
    const Orb::ArenaAside aside;
    switch (option) {
        case ClassMapMatchOption::ipv4:
            return readFilter(node, AddressFamily::ipv4, true);
        case ClassMapMatchOption::ipv6:
            return readFilter(node, AddressFamily::ipv6, true);
        case ClassMapMatchOption::mac:
        case ClassMapMatchOption::mpls:
            break;
    }
    return readFilter(node, std::nullopt, false);
}

void writeStructuredFilter(Writer& writer, const StructuredFilter& filter) {
    writeFilter(writer, filter);
}

}  // namespace StateDirectory
