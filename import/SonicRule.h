// One hash of ACL_RULE as a rule. A field asks by itself; one without a counterpart is carried word
// for word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Families.h"
#include "import/Findings.h"
#include "import/SonicDatabases.h"
#include "import/StateBuilder.h"

namespace Import {

// What a table says of all its rules.
struct SonicTableForm {
    Families families;                  // that its rules may look at
    bool takesIpv6Fields = false;       // although ipv6 is not among them
    bool isOfServices = false;          // its rules are about services of the switch itself
    std::vector<std::string> services;  // these; empty: not told
};

// The criteria and the actions. place: of the rule, for findings. The rule has no name and no
// reports yet.
Rule ruleOfHash(const SonicFields& fields, const SonicTableForm& form, const std::string& place,
                Findings& findings);

// "a,b" without empty ones.
std::vector<std::string> commaSeparated(std::string_view text);

// A number in decimal or 0x form.
std::optional<U64> parseAnyNumber(std::string_view text, Base::Bounds bounds);

}  // namespace Import
