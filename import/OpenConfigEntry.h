// One entry of an ACL set as a rule. An entry asks by leaves of containers, each leaf by itself but
// for the few that go together; a leaf without a counterpart is carried word for word.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "import/JsonTree.h"
#include "import/OpenConfigSets.h"
#include "import/StateBuilder.h"

namespace Import {

// The leaves of a container of the model, those of "state" before those of "config". All of them
// are marked as looked at.
class ModelLeaves {
  public:
    // A null container has none.
    explicit ModelLeaves(const JsonTree* container);

    const Leaf* find(std::string_view name) const {
        const auto found = leaves_.find(name);
        return found == leaves_.end() ? nullptr : found->second;
    }
    // Empty when there is none.
    std::string text(std::string_view name) const {
        const Leaf* const leaf = find(name);
        return leaf == nullptr ? "" : leaf->text();
    }
    auto begin() const { return leaves_.begin(); }
    auto end() const { return leaves_.end(); }

  private:
    void add(const JsonTree& container);

    std::map<std::string_view, const Leaf*> leaves_;
};

// Calls visit with each container below, but for "config" and "state", which hold the leaves of
// this one; an addition to the model may stand in these as well.
void forEachContainer(const JsonTree& tree,
                      const std::function<void(const std::string&, const JsonTree&)>& visit);

// The criteria and the actions of an entry of a set of the type ("ACL_IPV4"). The rule has no name
// and no reports yet. A reference to a field set that was read in part is carried.
Rule ruleOfEntry(const JsonTree& entry, std::string_view type, const PartlyReadSets& partlyRead,
                 Findings& findings);

// The families of the packets that sets of a type look at; of a type that the model does not have,
// all.
std::vector<ClassMapMatchOption> familiesOfType(std::string_view type);
bool isKnownType(std::string_view type);

// "low..high", one number, digits with leading zeros.
std::optional<Classification::NumericalRange> parsePortRange(std::string_view text,
                                                             Base::Bounds bounds);

}  // namespace Import
