// Builds rules by hand and prints them as text or as JSON.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "Captured.h"
#include "frame/ShowTrafficPolicy.h"
#include "views/MatchView.h"

namespace TrafficPolicyCli {

using Filter = Classification::StructuredFilter;
using Fill = std::function<void(Filter&)>;
using TakeActions = std::function<void(PolicyMap::PolicyClassAction&)>;
using Captured::MemoryFile;
using Fragment = Classification::Fragment;
using PortField = Classification::PortField;
using ProtoField = Classification::ProtoField;
using VlanRangeSet = Classification::VlanRangeSet;

inline constexpr U32 textFormat = 1;
inline constexpr U32 jsonFormat = 2;

// Prints with a renderer; JSON stands in the document's braces.
template <class Print>
std::string printed(U32 format, U32 revision, const Print& print) {
    const MemoryFile file;
    {
        textout::TextOutBuffer out(static_cast<U32>(file.fd()));
        textout::RendererV2 renderer(out, format, revision);
        renderer.documentBegin();
        print(renderer);
        renderer.documentEnd();
        renderer.flush();
    }
    return file.text();
}

inline Wire::IpGenPrefix prefix(std::string_view text) { return *Wire::IpGenPrefix::parse(text); }
inline Wire::IpGenAddr address(std::string_view text) { return *Wire::IpGenAddr::parse(text); }

// Adds a protocol range with its fields.
inline void addProtocol(Filter& filter, U32 low, U32 high,
                        const std::function<void(ProtoField&)>& fill = {}) {
    const auto field = Orb::make<ProtoField>();
    if (fill) fill(*field);
    filter.protocolsIs(Classification::ProtocolRange(low, high), Orb::Ptr<const ProtoField>(field));
}

inline void addFlags(ProtoField& field, U16 mask, U16 flag) {
    Classification::TcpFlagAndMask group;
    group.mask = mask;
    group.flag = flag;
    field.tcpFlagsIs(group);
}

inline void addPorts(ProtoField& field, const std::function<void(PortField&)>& fill) {
    const auto ports = Orb::make<PortField>();
    fill(*ports);
    field.portFieldsIs(Orb::Ptr<const PortField>(ports));
}

inline void addVlanTag(Filter& filter, const std::function<void(VlanRangeSet&)>& fill) {
    const auto criterion = Orb::make<VlanRangeSet>();
    fill(*criterion);
    filter.vlanTagsIs(Orb::Ptr<const VlanRangeSet>(criterion));
}

inline void setInnerMatch(Filter& filter, U8 af, U8 encapType, const Fill& fill) {
    const auto inner = Orb::make<Classification::InnerMatch>(
        static_cast<Wire::AddressFamily>(af),
        static_cast<Classification::EncapsulationType>(encapType));
    const auto innerFilter = Orb::make<Filter>();
    fill(*innerFilter);
    inner->structuredFilterIs(innerFilter);
    filter.innerMatchIs(inner);
}

inline Orb::Ptr<const PolicyMap::ClassMapMatch> matchOf(const Fill& fill,
                                                        MatchOption option = MatchOption::ipv4) {
    const auto filter = Orb::make<Filter>();
    fill(*filter);
    const auto match = Orb::make<PolicyMap::ClassMapMatch>("r1", option);
    match->structuredFilterIs(filter);
    return match;
}

// The field sets that the tests refer to: FS1 of each kind, and FS6 of IPv6 prefixes only.
inline Orb::Ptr<const FieldSetState> someFieldSets() {
    const auto state = Orb::make<FieldSetState>("");
    const auto addPrefixSet = [](const auto& record, U64 prefixes, U64 exceptPrefixes) {
        record->totalAcceptPrefixesIs(prefixes);
        record->totalExceptPrefixesIs(exceptPrefixes);
    };
    addPrefixSet(state->ipPrefixFieldSetIs("FS1"), 4, 1);
    addPrefixSet(state->ipv6PrefixFieldSetIs("FS1"), 600, 0);
    addPrefixSet(state->ipv6PrefixFieldSetIs("FS6"), 6, 2);
    state->l4PortFieldSetIs("FS1")->totalEntriesIs(U64{65536});
    state->vlanFieldSetIs("FS1")->totalEntriesIs(U64{4094});
    return state;
}

// The criteria of one match at 3 blanks, 3 blanks per level.
inline std::string criteria(const Orb::Ptr<const PolicyMap::ClassMapMatch>& match, U32 format,
                            U32 revision, bool detail = false) {
    const auto policyState = policyStateFactory("p1");
    policyState->indentCountPerLevelIs(3);
    const auto fieldSets = someFieldSets();
    return printed(format, revision, [&](textout::RendererV2& renderer) {
        renderMatches(renderer, fieldSets, policyState, match, detail, 3, revision, format);
    });
}

// A filter and what is printed of it.
struct CriteriaRow {
    std::string name;
    Fill fill;
    std::string text;
    std::string json;               // what "matches" holds, at the current revision
    std::string jsonOfRevision1{};  // empty: the same
    MatchOption option = MatchOption::ipv4;
    bool detail = false;
};

inline std::string inMatches(const std::string& json) { return "{\"matches\":{" + json + "}}\n"; }

inline void expectPrinted(const std::vector<CriteriaRow>& rows) {
    for (const CriteriaRow& row : rows) {
        SCOPED_TRACE(row.name);
        const auto match = matchOf(row.fill, row.option);
        const std::string& json1 = row.jsonOfRevision1.empty() ? row.json : row.jsonOfRevision1;
        for (const U32 revision : {0, 1, 2, 3}) {
            EXPECT_EQ(criteria(match, textFormat, revision, row.detail), row.text);
            EXPECT_EQ(criteria(match, jsonFormat, revision, row.detail),
                      inMatches(revision <= 1 ? json1 : row.json));
        }
    }
}

// One policy with its show object, which shows a count action as a line with its arguments.
class RuleFixture {
  public:
    explicit RuleFixture(Orb::Ptr<PolicyState> record = policyStateFactory("p1"))
        : policyState(std::move(record)) {
        policyState->indentCountPerLevelIs(3);
        const auto config = Orb::make<PolicyMap::PolicyMapConfig>("p1");
        config->currCfgIs(version_);
        policyState->policyMapConfigIs(config);
    }

    void addRule(const Orb::String& name, const Orb::Ptr<const PolicyMap::ClassMapMatch>& match) {
        policyState->classMapConfigIs(match);
        policyState->classMapStatusInputIs(
            Orb::Ptr<const PolicyMap::ClassMapStatus>(Orb::make<PolicyMap::ClassMapStatus>(name)));
    }
    void setActions(const Orb::String& ruleName, const TakeActions& take) {
        const auto actions = Orb::make<PolicyMap::PolicyClassAction>(ruleName);
        take(*actions);
        version_->policyActionIs(ruleName, Orb::Ptr<const PolicyMap::PolicyClassAction>(actions));
    }

    std::string rules(U32 format, U32 revision = 2) const {
        return printed(format, revision, [&](textout::RendererV2& renderer) {
            const auto list = renderer.list("rules");
            show_->renderRules(&renderer, policyState, 6, format, revision);
        });
    }
    // The actions of the rule r1, index 7, at 3 blanks.
    std::string actions(U32 format) const {
        return printed(format, 2, [&](textout::RendererV2& renderer) {
            show_->renderActions(&renderer, "r1", 7, policyState, 3);
        });
    }

    Orb::Ptr<PolicyState> policyState;

  private:
    class Show : public ShowTrafficPolicyVAcl {
      public:
        Show() : ShowTrafficPolicyVAcl(ShowArguments{}, nullptr) {}
        void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                               const Orb::Ptr<const PolicyState>& state,
                               const Orb::Ptr<const PolicyMap::Action>& action,
                               U32 indent) override {
            const auto count = Orb::ptrCast<const PolicyMap::CountAction>(action);
            if (count->counterName() == "nothing") return;
            renderer->indent(indent).text("Count ").number(ruleIndex).text(" of ");
            renderer->name(state->name()).endLine();
            renderer->pair("count", ruleIndex);
        }
    };

    Orb::Ptr<PolicyMap::PolicyMapSubConfig> version_ =
        Orb::make<PolicyMap::PolicyMapSubConfig>("p1");
    Orb::Ptr<Show> show_ = Orb::make<Show>();
};

// Adds an action of the record's type, after filling it.
template <class Record>
void addAction(
    PolicyMap::PolicyClassAction& actions,
    const std::function<void(Record&)>& fill = [](Record&) {}) {
    const auto action = Orb::make<Record>();
    fill(*action);
    actions.actionIs(action->actionType(), Orb::Ptr<const PolicyMap::Action>(action));
}
inline void addPlainAction(PolicyMap::PolicyClassAction& actions, PolicyMap::ActionType type) {
    actions.actionIs(type, Orb::Ptr<const PolicyMap::Action>(Orb::make<PolicyMap::Action>(type)));
}

}  // namespace TrafficPolicyCli
