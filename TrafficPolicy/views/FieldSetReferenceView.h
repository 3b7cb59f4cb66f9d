// The field sets that a criterion refers to: one line of text and one JSON object each, with the
// set's size, or with the note that it is not defined.
#pragma once

#include <string_view>

#include "hive/MatchOption.h"
#include "textout/RendererV2.h"
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

using FieldSetNames = Orb::HashSet2018<Orb::String>;

// Expanded: text lines and a JSON list of objects; else only a JSON list of the names. jsonKey is
// the key of the list. In text, detail adds the sizes. The sets are those of the match option's
// address family.
void renderPrefixFieldSet(textout::RendererV2& renderer,
                          const Orb::Ptr<const FieldSetState>& fieldSetState,
                          PolicyMap::ClassMapMatchOption matchOption, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool detail,
                          U32 indent, bool expanded);

void renderL4PortFieldSet(textout::RendererV2& renderer,
                          const Orb::Ptr<const FieldSetState>& fieldSetState,
                          std::string_view label, std::string_view jsonKey,
                          const FieldSetNames& names, bool detail, U32 indent, bool expanded);

// Always expanded, under "dot1qVlanFieldSets".
void renderVlanFieldSet(textout::RendererV2& renderer,
                        const Orb::Ptr<const FieldSetState>& fieldSetState, std::string_view label,
                        const FieldSetNames& names, bool detail, U32 indent);

}  // namespace TrafficPolicyCli
