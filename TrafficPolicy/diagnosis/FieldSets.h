// The configured field sets by kind.
#pragma once

#include "diagnosis/RuleWalk.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli::Diagnosis {

// "IPv4 prefix", "L4 port" and so on; and "ipv4Prefix", "l4Port".
std::string_view labelOf(FieldSetKind kind);
std::string_view keyOf(FieldSetKind kind);

class FieldSets {
  public:
    enum class Contents : U8 { undefined, noVersion, none, some };

    // REQUIRES: the sources outlive the object.
    explicit FieldSets(const DiagnosisSources& sources) : config_(sources.fieldSetConfig.get()) {}

    // Of the kinds that rules name.
    Contents contentsOf(FieldSetKind kind, const Orb::String& name) const;

  private:
    const Classification::FieldSetConfig* config_;
};

}  // namespace TrafficPolicyCli::Diagnosis
