#include "diagnosis/Table.h"

#include <algorithm>

#include "base/Text.h"

namespace TrafficPolicyCli::Diagnosis {

Table::Table(textout::RendererV2& renderer, const std::vector<std::string_view>& headings)
    : renderer_(renderer), columns_(headings.size()) {
    for (const std::string_view heading : headings) cell(heading);
}

void Table::cell(std::string_view text) {
    if (!renderer_.isText()) return;
    cells_.push_back({Orb::String(text), Base::terminalColumns(text)});
}

U32 Table::widthOf(std::size_t column) const {
    U32 width = 0;
    for (std::size_t at = column; at < cells_.size(); at += columns_) {
        width = std::max(width, cells_[at].columns);
    }
    return width;
}

void Table::print() const {
    constexpr U32 gap = 2;
    std::vector<U32> widths;
    for (std::size_t column = 0; column < columns_; ++column) widths.push_back(widthOf(column));
    U32 blanks = 0;  // due before the next cell of the line that has something to print
    const auto print = [&](std::size_t column, std::string_view text, U32 columns) {
        if (!text.empty()) renderer_.indent(blanks).name(text);
        blanks = (text.empty() ? blanks : 0) + widths[column] - columns + gap;
        if (column + 1 < columns_) return;
        renderer_.endLine();
        blanks = 0;
    };
    for (std::size_t at = 0; at < cells_.size(); ++at) {
        print(at % columns_, cells_[at].text, cells_[at].columns);
        if (at + 1 != columns_) continue;
        for (std::size_t column = 0; column < columns_; ++column) {
            const U32 dashes = column + 1 < columns_ ? widths[column] : cells_[column].columns;
            renderer_.indent(blanks).indent(dashes, '-');
            blanks = gap;
        }
        renderer_.endLine();
        blanks = 0;
    }
}

}  // namespace TrafficPolicyCli::Diagnosis
