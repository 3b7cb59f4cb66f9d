// What came into field sets, and what went.
#include <algorithm>
#include <set>
#include <tuple>

#include "diagnosis/Comparison.h"
#include "diagnosis/FieldSets.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

// A kind, a source (of MAC sets) and a name.
using SetKey = std::tuple<FieldSetKind, Orb::String, Orb::String>;
struct KeyLess {
    bool operator()(const SetKey& a, const SetKey& b) const {
        if (std::get<0>(a) != std::get<0>(b)) return std::get<0>(a) < std::get<0>(b);
        if (const auto order = naturalOrder(std::get<1>(a), std::get<1>(b)); order != 0) {
            return order < 0;
        }
        return naturalOrder(std::get<2>(a), std::get<2>(b)) < 0;
    }
};

// Adds the entries of one that the other does not have, in their order.
template <class Entries>
void addMissing(const Entries* one, const Entries* other, const Orb::String& before,
                std::vector<Orb::String>& found) {
    if (one == nullptr) return;
    std::vector<typename Entries::Stored> missing;
    U32 place = 0;
    for (const auto& entry : *one) {
        if (other == nullptr || other->find(entry, place) == nullptr) missing.push_back(entry);
        ++place;
    }
    std::ranges::sort(missing);
    for (const auto& entry : missing) found.push_back(before + entry.stringValue());
}

class SetComparison {
  public:
    SetComparison(const DiagnosisSources& before, const DiagnosisSources& after)
        : before_(before), after_(after) {}

    // Compares the sets of both states that are in the collection, or in all when it is empty.
    std::vector<FieldSetChange> changes(const std::set<SetKey, KeyLess>* only) {
        only_ = only;
        using Config = Classification::FieldSetConfig;
        forEachKindOfRules([&](FieldSetKind kind, auto setsOf) {
            const Config* const before = before_.fieldSetConfig.get();
            const Config* const after = after_.fieldSetConfig.get();
            compareSets(kind, "", before == nullptr ? nullptr : &setsOf(*before),
                        after == nullptr ? nullptr : &setsOf(*after));
        });
        compareMac();
        std::ranges::sort(changes_, [](const FieldSetChange& a, const FieldSetChange& b) {
            return KeyLess()({a.kind, a.source, a.name}, {b.kind, b.source, b.name});
        });
        return std::move(changes_);
    }

  private:
    template <class Sets>
    void compareSets(FieldSetKind kind, const Orb::String& source, const Sets* before,
                     const Sets* after) {
        if (before != nullptr) {
            for (const auto& [name, set] : *before) {
                const auto* const other = after == nullptr ? nullptr : after->find(name);
                compareSet({kind, source, name}, set.get(),
                           other == nullptr ? nullptr : other->get());
            }
        }
        if (after == nullptr) return;
        for (const auto& [name, set] : *after) {
            if (before != nullptr && before->contains(name)) continue;
            compareSet({kind, source, name}, decltype(set.get())(nullptr), set.get());
        }
    }

    template <class Set>
    void compareSet(const SetKey& key, const Set* before, const Set* after) {
        if (only_ != nullptr && !isWanted(key)) return;
        textout::checkInterrupt();
        const auto& [kind, source, name] = key;
        FieldSetChange change{.kind = kind, .name = name, .source = source};
        change.change = before == nullptr  ? Change::added
                        : after == nullptr ? Change::removed
                                           : Change::changed;
        const auto* const versionBefore = before == nullptr ? nullptr : before->currCfg().get();
        const auto* const versionAfter = after == nullptr ? nullptr : after->currCfg().get();
        compareEntries(
            versionBefore, versionAfter, [](const auto& version) { return &entriesOf(version); },
            "", change);
        if constexpr (requires { exceptionsOf(*versionBefore); }) {
            compareEntries(
                versionBefore, versionAfter,
                [](const auto& version) { return &exceptionsOf(version); }, "except ", change);
        }
        if (versionBefore != nullptr && versionAfter != nullptr) {
            change.hasOtherSource = differInSource(*versionBefore, *versionAfter);
        }
        if (change.change == Change::changed && !change.hasOtherSource && change.added.empty() &&
            change.removed.empty()) {
            return;
        }
        changes_.push_back(std::move(change));
    }

    // word: what stands before the entries where they are told.
    template <class Version, class Entries>
    static void compareEntries(const Version* before, const Version* after, Entries entriesIn,
                               const Orb::String& word, FieldSetChange& change) {
        const auto* const x = before == nullptr ? nullptr : entriesIn(*before);
        const auto* const y = after == nullptr ? nullptr : entriesIn(*after);
        change.entriesBefore += x == nullptr ? 0 : x->size();
        change.entriesAfter += y == nullptr ? 0 : y->size();
        addMissing(y, x, word, change.added);
        addMissing(x, y, word, change.removed);
    }

    template <class Version>
    static bool differInSource(const Version& a, const Version& b) {
        if constexpr (requires { a.contentsSource(); }) {
            return a.contentsSource() != b.contentsSource() || a.urlPath() != b.urlPath() ||
                   a.urlVrf() != b.urlVrf();
        } else {
            return false;
        }
    }

    // MAC sets are one directory per source.
    using MacSets =
        Orb::HashMap2018<Orb::String, Orb::Ptr<const Classification::FieldSetMacAddrConfig>>;
    static std::map<Orb::String, MacSets> macSetsOf(const DiagnosisSources& sources) {
        std::map<Orb::String, MacSets> bySource;
        forEachMacSet(sources.macDir, [&](const auto& source, const auto& name, const auto& set) {
            bySource[source].is(name, set);
        });
        return bySource;
    }
    void compareMac() {
        auto before = macSetsOf(before_);
        auto after = macSetsOf(after_);
        for (const auto& entry : before) after[entry.first];
        for (const auto& [source, sets] : after) {
            compareSets(FieldSetKind::mac, source, &before[source], &sets);
        }
    }

    bool isWanted(const SetKey& key) const { return only_->contains(key); }

    const DiagnosisSources& before_;
    const DiagnosisSources& after_;
    const std::set<SetKey, KeyLess>* only_ = nullptr;
    std::vector<FieldSetChange> changes_;
};

void addNamedSets(const DiagnosisSources& sources, const Orb::String& policy,
                  std::set<SetKey, KeyLess>& named) {
    const auto* const config = sources.config ? sources.config->policyMapConfig(policy) : nullptr;
    if (config == nullptr || !config->currCfg()) return;
    forEachRule(*config->currCfg(), [&](const Rule& rule) {
        if (rule.config == nullptr) return;
        for (const auto& [option, match] : rule.config->match()) {
            if (!match) continue;
            forEachFieldSet(*match,
                            [&](FieldSetKind kind, std::string_view, const Orb::String& name) {
                                named.insert({kind, "", name});
                            });
        }
    });
}

}  // namespace

std::vector<FieldSetChange> compareFieldSets(const DiagnosisSources& before,
                                             const DiagnosisSources& after,
                                             const Orb::String& onlyPolicy) {
    std::set<SetKey, KeyLess> named;
    if (!onlyPolicy.empty()) {
        addNamedSets(before, onlyPolicy, named);
        addNamedSets(after, onlyPolicy, named);
    }
    return SetComparison(before, after).changes(onlyPolicy.empty() ? nullptr : &named);
}

}  // namespace TrafficPolicyCli::Diagnosis
