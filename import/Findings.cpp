#include "import/Findings.h"

#include "base/Escape.h"
#include "base/Text.h"

namespace Import {

namespace {

constexpr std::string_view kindTexts[] = {"carried as other", "not understood, left out",
                                          "said twice, the later one counts", "not about ACLs"};
std::string wordsOf(FindingKind kind) {
    return std::string(kindTexts[static_cast<std::size_t>(kind)]);
}

}  // namespace

void Findings::add(FindingKind kind, const std::string& place, std::string_view statement,
                   const std::string& text) {
    if (!known_.emplace(kind, place, std::string(statement)).second) return;
    findings_.push_back({kind, place, std::string(statement), text});
    ++counts_[{kind, std::string(statement)}];
    if (kind != FindingKind::elsewhere) ++worst_;
}

std::vector<std::string> Findings::counts() const {
    std::vector<std::string> lines;
    for (const auto& [of, count] : counts_) {
        lines.push_back(std::to_string(count) + " " + wordsOf(of.first) + ": " +
                        Base::shortened(of.second));
    }
    return lines;
}

std::string Findings::report() const {
    std::string lines;
    for (const Finding& finding : findings_) {
        lines += Base::escaped(finding.place) + ": " + wordsOf(finding.kind) + ": " +
                 Base::escaped(finding.statement) +
                 (finding.text.empty() ? "" : ": " + Base::escaped(finding.text)) + "\n";
    }
    return lines;
}

}  // namespace Import
