// A table of text: columns as wide as their widest cell on a terminal, the last one not filled up.
#pragma once

#include <string_view>
#include <vector>

#include "textout/RendererV2.h"

namespace TrafficPolicyCli::Diagnosis {

// In JSON nothing is kept and nothing printed, so a walk fills it beside its calls for JSON.
class Table {
  public:
    Table(textout::RendererV2& renderer, const std::vector<std::string_view>& headings);

    // The next cell, from left to right and row by row.
    void cell(std::string_view text);
    // Prints the headings, a line of dashes, and the rows.
    void print() const;

  private:
    struct Cell {
        Orb::String text;
        U32 columns;
    };
    U32 widthOf(std::size_t column) const;

    textout::RendererV2& renderer_;
    std::size_t columns_;
    std::vector<Cell> cells_;  // the headings first
};

}  // namespace TrafficPolicyCli::Diagnosis
