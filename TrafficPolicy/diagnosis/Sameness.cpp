#include "diagnosis/Sameness.h"

#include <algorithm>

#include "model/IpCriteria.h"

namespace TrafficPolicyCli::Diagnosis {

using Classification::StructuredFilter;
using PolicyMap::Action;
using PolicyMap::ActionType;
using PolicyMap::ClassMapMatch;
using MatchOption = PolicyMap::ClassMapMatchOption;

namespace {

// The attributes of a filter whose names are not what a text calls them, beside those of numeric
// criteria.
struct Label {
    std::string_view key;
    std::string_view text;
};
constexpr Label labels[] = {
    {"vlanTags", "VLAN tags"},
    {"sources", "source prefix"},
    {"srcPrefixSets", "source prefix sets"},
    {"sourceLpms", "source longest match"},
    {"srcLpmPrefixSets", "source longest match sets"},
    {"destinations", "destination prefix"},
    {"dstPrefixSets", "destination prefix sets"},
    {"destinationLpms", "destination longest match"},
    {"dstLpmPrefixSets", "destination longest match sets"},
    {"protocols", "protocol"},
    {"neighborsProtocol", "neighbors protocol"},
    {"l4Protocol", "layer-4 protocol"},
    {"ipOptions", "IP options"},
    {"otherCriteria", "other criteria"},
    {"innerMatch", "packet inside"},
};

std::string_view labelOf(std::string_view key) {
    const auto* const label = std::ranges::find(labels, key, &Label::key);
    if (label != std::end(labels)) return label->text;
    std::string_view text = key;
    forEachNumericCriterion([&](const auto& criterion) {
        if (criterion.attribute == key) text = criterion.name;
    });
    return text;
}

void addMatch(MatchOption family, const ClassMapMatch* a, const ClassMapMatch* b,
              RuleDifference& difference) {
    const StructuredFilter* const x = a == nullptr ? nullptr : a->structuredFilter().get();
    const StructuredFilter* const y = b == nullptr ? nullptr : b->structuredFilter().get();
    if ((a == nullptr) != (b == nullptr) || (x == nullptr) != (y == nullptr)) {
        difference.criteria.push_back({family, "criteria", "criteria"});
        return;
    }
    if (x == y) return;
    for (const std::string_view key : Orb::differences(*x, *y)) {
        difference.criteria.push_back({family, key, labelOf(key)});
    }
}

// The value of a record by key; null: there is none, or no record.
template <class Map, class Key>
auto* valueOf(const Map* map, const Key& key) {
    const auto* const found = map == nullptr ? nullptr : map->find(key);
    return found == nullptr ? nullptr : found->get();
}

}  // namespace

RuleDifference differenceOf(const Rule& before, const Rule& after) {
    RuleDifference difference;
    const auto* const matchBefore = before.config == nullptr ? nullptr : &before.config->match();
    const auto* const matchAfter = after.config == nullptr ? nullptr : &after.config->match();
    for (const MatchOption family : PolicyMap::matchOptions) {
        addMatch(family, valueOf(matchBefore, family), valueOf(matchAfter, family), difference);
    }
    const auto* const actionBefore =
        before.actions == nullptr ? nullptr : &before.actions->action();
    const auto* const actionAfter = after.actions == nullptr ? nullptr : &after.actions->action();
    for (std::size_t place = 0; place < std::size(PolicyMap::actionNames); ++place) {
        const ActionType type = PolicyMap::actionAt(place);
        const Action* const a = valueOf(actionBefore, type);
        const Action* const b = valueOf(actionAfter, type);
        if (!Orb::sameRecords(a, b)) difference.actions.push_back(type);
    }
    return difference;
}

}  // namespace TrafficPolicyCli::Diagnosis
