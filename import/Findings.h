// What an import did not understand, each statement with its place: told in counts at the end, and
// one by one in a report. Nothing is skipped without a finding.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "orb/Types.h"

namespace Import {

enum class FindingKind : U8 {
    carried,        // a rule asks or does what there are no words for: shown as it was written
    notUnderstood,  // no rule could carry it: left out
    contradiction,  // two values of one thing: the later one counts
    elsewhere,      // data that is not about ACLs: left out, and no reason for exit status 6
};

class Findings {
  public:
    // place: a JSON pointer behind the file's name, or database, key and field. statement: the leaf
    // or field. text: what it says and what became of it.
    void add(FindingKind kind, const std::string& place, std::string_view statement,
             const std::string& text);

    bool isComplete() const { return worst_ == 0; }
    std::size_t size() const { return findings_.size(); }
    // One line for each kind and statement, with how often: "12 carried as other: ETHER_TYPE".
    std::vector<std::string> counts() const;
    // All of them, a line each, in the order in which they came; escaped.
    std::string report() const;

  private:
    struct Finding {
        FindingKind kind;
        std::string place;
        std::string statement;
        std::string text;
    };

    std::vector<Finding> findings_;
    std::set<std::tuple<FindingKind, std::string, std::string>> known_;
    std::map<std::pair<FindingKind, std::string>, std::size_t> counts_;
    std::size_t worst_ = 0;  // how many ask for exit status 6
};

}  // namespace Import
