// The configuration of policies: rules in their order, what each matches and does, the counters a
// policy declares.
#pragma once

#include "hive/Actions.h"
#include "hive/MatchOption.h"
#include "hive/StructuredFilter.h"

namespace PolicyMap {

// The match of one rule in one address family.
class ORB_EXPORT ClassMapMatch : public Orb::PtrInterface {
    ORB_TYPE(ClassMapMatch)
    ORB_CONSTRUCTIBLE(ClassMapMatch, Orb::Name, ClassMapMatchOption)
    ORB_KEY(name, Orb::Name)
    ORB_KEY(option, ClassMapMatchOption)
    // Null: the match has no criteria structure, as distinct from an empty one, which matches all.
    ORB_ATTRIBUTE(structuredFilter, Classification::FilterReference)

    ClassMapMatch(Orb::Name name, ClassMapMatchOption option)
        : name_(std::move(name)), option_(option) {}
};

// The configuration of one rule ("class"): its matches by address family.
class ORB_EXPORT ClassMapConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(ClassMapConfig, name, Orb::Name)
    ORB_ATTRIBUTE(match, Orb::HashMap2018<ClassMapMatchOption, Orb::Ptr<const ClassMapMatch>>)
};

// The action set of one rule.
class ORB_EXPORT PolicyClassAction : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PolicyClassAction, className, Orb::Name)
    ORB_ATTRIBUTE(action, Orb::HashMap2018<ActionType, Orb::Ptr<const Action>>)
};

// One version of a policy.
class ORB_EXPORT PolicyMapSubConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PolicyMapSubConfig, name, Orb::String)         // of the policy
    ORB_ATTRIBUTE(classPriority, Orb::SortedMap<U32, Orb::Name>)  // rule names; lower goes first
    ORB_ATTRIBUTE(classMap, Orb::HashMap2018<Orb::Name, Orb::Ptr<const ClassMapConfig>>)
    ORB_ATTRIBUTE(policyAction, Orb::HashMap2018<Orb::Name, Orb::Ptr<const PolicyClassAction>>)
    ORB_ATTRIBUTE(namedCounter, Orb::RbTreeSet<Orb::Name>)  // the counters that are declared
};

class ORB_EXPORT PolicyMapConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(PolicyMapConfig, name, Orb::String)
    ORB_ATTRIBUTE(currCfg, Orb::Ptr<const PolicyMapSubConfig>)  // the current version; may be null
};

}  // namespace PolicyMap

namespace TrafficPolicy {

class ORB_EXPORT TrafficPolicyConfig : public Orb::PtrInterface {
    ORB_TYPE(TrafficPolicyConfig)
    ORB_CONSTRUCTIBLE(TrafficPolicyConfig)
    ORB_ATTRIBUTE(policyMapConfig,
                  Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMap::PolicyMapConfig>>)
};

}  // namespace TrafficPolicy
