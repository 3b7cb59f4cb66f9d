// The exported factories and creators of the field-set show commands, which are also the way in
// which the classes are built by name.
#include "frame/Creator.h"
#include "traffic-policy/ShowFieldSets.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(ShowTrafficPolicyPrefixFieldSet)
ORB_DEFINE_TYPE(ShowTrafficPolicyL4PortFieldSet)
ORB_DEFINE_TYPE(ShowTrafficPolicyVlanFieldSet)
ORB_DEFINE_TYPE(ShowTrafficPolicyMacFieldSet)

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyPrefixFieldSet, showTrafficPolicyPrefixFieldSetFactory,
                           (Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                            Orb::String fieldSetName, bool ipv4, bool filter,
                            const Wire::IpGenPrefix& filterPrefix, bool exact),
                           {
                               return Orb::make<ShowTrafficPolicyPrefixFieldSet>(
                                   std::move(fsConfig), std::move(fieldSetName), ipv4, filter,
                                   filterPrefix, exact);
                           })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyL4PortFieldSet, showTrafficPolicyL4PortFieldSetFactory,
                           (Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                            Orb::String fieldSetName, bool filter,
                            Classification::PortRange filterPorts),
                           {
                               return Orb::make<ShowTrafficPolicyL4PortFieldSet>(
                                   std::move(fsConfig), std::move(fieldSetName), filter,
                                   filterPorts);
                           })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyVlanFieldSet, showTrafficPolicyVlanFieldSetFactory,
                           (Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                            Orb::String fieldSetName, bool filter,
                            Classification::VlanRange filterVlans),
                           {
                               return Orb::make<ShowTrafficPolicyVlanFieldSet>(
                                   std::move(fsConfig), std::move(fieldSetName), filter,
                                   filterVlans);
                           })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyMacFieldSet, showTrafficPolicyMacFieldSetFactory,
                           (Orb::Ptr<const Orb::Dir> configDir, Orb::String fieldSetName), {
                               return Orb::make<ShowTrafficPolicyMacFieldSet>(
                                   std::move(configDir), std::move(fieldSetName));
                           })

namespace {

const bool areFieldSetShowsRegistered =
    Orb::registerFactory<&showTrafficPolicyPrefixFieldSetFactory>() &&
    Orb::registerFactory<&showTrafficPolicyL4PortFieldSetFactory>() &&
    Orb::registerFactory<&showTrafficPolicyVlanFieldSetFactory>() &&
    Orb::registerFactory<&showTrafficPolicyMacFieldSetFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
