// Which field sets hold an address, a port, a VLAN or a MAC address: membership, so that an
// exception takes out what a prefix holds. A large prefix set is asked by its hash, once per
// length.
#include <algorithm>

#include "diagnosis/FieldSets.h"
#include "diagnosis/NaturalOrder.h"
#include "diagnosis/Table.h"
#include "textout/Exceptions.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

using Classification::NumericalRange;
using Diagnosis::entriesOf;
using Diagnosis::exceptionsOf;
using Diagnosis::FieldSetKind;
using Wire::IpGenAddr;
using Wire::IpGenPrefix;

namespace {

struct Holder {
    FieldSetKind kind;
    Orb::String source;  // of a MAC set
    Orb::String name;
    Orb::String heldBy;
    Orb::String exceptedBy;
};

// The longest prefix that holds the address; null when none does.
const IpGenPrefix* holding(const Orb::HashSet2018<IpGenPrefix>& prefixes,
                           const IpGenAddr& address) {
    constexpr U32 costOfLookUp = 64;  // in comparisons
    const U32 bits = address.family() == Wire::AddressFamily::ipv4 ? 32 : 128;
    if (prefixes.size() > costOfLookUp * (bits + 1)) {
        for (U32 length = bits + 1; length-- > 0;) {
            const IpGenPrefix* const found = prefixes.find(IpGenPrefix(address, length).masked());
            if (found != nullptr) return found;
        }
        return nullptr;
    }
    const IpGenPrefix whole(address, bits);
    const IpGenPrefix* longest = nullptr;
    for (const IpGenPrefix& prefix : prefixes) {
        if (!prefix.overlaps(whole)) continue;
        if (longest == nullptr || prefix.length() > longest->length()) longest = &prefix;
    }
    return longest;
}

// The narrowest range that holds the number, the lowest of equally narrow ones; null when none
// does.
template <std::derived_from<NumericalRange> Range>
const Range* holding(const Orb::HashSet2018<Range>& ranges, U32 number) {
    const Range* narrowest = nullptr;
    for (const Range& range : ranges) {
        if (number < range.low || number > range.high) continue;
        if (narrowest == nullptr ||
            std::pair(range.high - range.low, range.low) <
                std::pair(narrowest->high - narrowest->low, narrowest->low)) {
            narrowest = &range;
        }
    }
    return narrowest;
}

const Wire::EthAddr* holding(const Orb::HashSet2018<Wire::EthAddr>& addresses,
                             const Wire::EthAddr& address) {
    return addresses.find(address);
}

class HolderSearch {
  public:
    explicit HolderSearch(const DiagnosisSources& sources) : sources_(sources) {}

    // Among the sets of a kind of which rules can name sets.
    template <class Element>
    void find(FieldSetKind wanted, const Element& element) {
        if (!sources_.fieldSetConfig) return;
        Diagnosis::forEachKindOfRules([&](FieldSetKind kind, auto setsOf) {
            if (kind != wanted) return;
            for (const auto& [name, set] : setsOf(*sources_.fieldSetConfig)) {
                addIfHolding(kind, "", name, *set, element);
            }
        });
    }
    void findMac(const Wire::EthAddr& address) {
        Diagnosis::forEachMacSet(sources_.macDir,
                                 [&](const auto& source, const auto& name, const auto& set) {
                                     addIfHolding(FieldSetKind::mac, source, name, *set, address);
                                 });
    }

    // As people count.
    std::vector<Holder> take() {
        std::ranges::sort(found_, [](const Holder& a, const Holder& b) {
            const auto order = Diagnosis::naturalOrder(a.source, b.source);
            return order != 0 ? order < 0 : Diagnosis::naturalOrder(a.name, b.name) < 0;
        });
        return std::move(found_);
    }

  private:
    template <class Set, class Element>
    void addIfHolding(FieldSetKind kind, const Orb::String& source, const Orb::String& name,
                      const Set& set, const Element& element) {
        textout::checkInterrupt();
        const auto& version = set.currCfg();
        if (!version) return;
        if constexpr (requires { holding(entriesOf(*version), element); }) {
            const auto* const held = holding(entriesOf(*version), element);
            if (held == nullptr) return;
            Orb::String exceptedBy;
            if constexpr (requires { exceptionsOf(*version); }) {
                const auto* const except = holding(exceptionsOf(*version), element);
                if (except != nullptr) exceptedBy = except->stringValue();
            }
            found_.push_back({kind, source, name, held->stringValue(), exceptedBy});
        }
    }

    const DiagnosisSources& sources_;
    std::vector<Holder> found_;
};

void renderHolders(textout::RendererV2& renderer, const std::vector<Holder>& holders,
                   const Orb::String& element) {
    Diagnosis::Table table(renderer, {"Kind", "Field set", "Held by", "Taken out by"});
    U64 holding = 0;
    {
        const auto list = renderer.list("fieldSets");
        for (const Holder& holder : holders) {
            const bool holds = holder.exceptedBy.empty();
            holding += holds ? 1 : 0;
            const auto object = renderer.object();
            renderer.pair("kind", keyOf(holder.kind));
            if (!holder.source.empty()) renderer.pair("source", holder.source);
            renderer.pair("name", holder.name);
            renderer.pair("holds", holds);
            renderer.pair("heldBy", holder.heldBy);
            if (!holds) renderer.pair("exceptedBy", holder.exceptedBy);
            table.cell(Orb::String(labelOf(holder.kind)) +
                       (holder.source.empty() ? "" : ", " + holder.source));
            table.cell(holder.name);
            table.cell(holder.heldBy);
            table.cell(holder.exceptedBy);
        }
    }
    if (!holders.empty()) table.print();
    if (holding == 0) {
        renderer.text("No field set holds ").text(element).text(".").endLine();
    } else {
        renderer.number(holding).text(holding == 1 ? " field set holds " : " field sets hold ");
        renderer.text(element).text(".").endLine();
    }
}

}  // namespace

ShowTrafficPolicyFieldSetHolding::ShowTrafficPolicyFieldSetHolding(DiagnosisSources sources,
                                                                   HoldingKind kind,
                                                                   const IpGenAddr& address,
                                                                   U32 number,
                                                                   const Wire::EthAddr& mac)
    : ShowTrafficPolicyDiagnosis(std::move(sources)),
      kind_(kind),
      address_(address),
      number_(number),
      mac_(mac) {}

void ShowTrafficPolicyFieldSetHolding::renderReport(textout::RendererV2& renderer) {
    HolderSearch search(sources());
    Orb::String element;
    std::string_view key;
    Orb::String text;
    switch (kind()) {
        case HoldingKind::address:
            search.find(address().family() == Wire::AddressFamily::ipv4 ? FieldSetKind::ipv4Prefix
                                                                        : FieldSetKind::ipv6Prefix,
                        address());
            key = "address";
            element = text = address().stringValue();
            break;
        case HoldingKind::l4Port:
            search.find(FieldSetKind::l4Port, number());
            key = "l4Port";
            element = std::to_string(number());
            text = "port " + element;
            break;
        case HoldingKind::vlan:
            search.find(FieldSetKind::vlan, number());
            key = "vlan";
            element = std::to_string(number());
            text = "VLAN " + element;
            break;
        case HoldingKind::mac:
            search.findMac(mac());
            key = "mac";
            element = text = mac().stringValue();
            break;
    }
    const auto object = renderer.object("holding");
    renderer.pair("kind", key);
    renderer.pair("element", element);
    renderHolders(renderer, search.take(), text);
}

}  // namespace TrafficPolicyCli
