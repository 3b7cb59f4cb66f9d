// The field sets that a criterion refers to: one line of text and one JSON object each, with the
// set's size, or with the note that it is not defined.
#pragma once

#include "views/ListLayout.h"

namespace TrafficPolicyCli {

using FieldSetNames = Orb::HashSet2018<Orb::String>;

// Expanded: text lines and a JSON list of objects; else only a JSON list of the names. jsonKey is
// the key of the list. In text, detail adds the sizes. The sets are those of the match option's
// address family.
void renderPrefixFieldSet(const CriteriaView& view, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool expanded);
void renderL4PortFieldSet(const CriteriaView& view, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool expanded);
// Always expanded, under "dot1qVlanFieldSets".
void renderVlanFieldSet(const CriteriaView& view, std::string_view label,
                        const FieldSetNames& names);

}  // namespace TrafficPolicyCli
