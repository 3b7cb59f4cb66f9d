#include "diagnosis/NaturalOrder.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

// Takes the digits at the beginning off the text, and returns them without leading zeros.
std::string_view takeNumber(std::string_view& text) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isDigit);
    std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

}  // namespace

std::strong_ordering naturalOrder(std::string_view a, std::string_view b) {
    std::string_view restOfA = a;
    std::string_view restOfB = b;
    while (!restOfA.empty() && !restOfB.empty()) {
        if (isDigit(restOfA.front()) && isDigit(restOfB.front())) {
            const std::string_view numberOfA = takeNumber(restOfA);
            const std::string_view numberOfB = takeNumber(restOfB);
            if (const auto order = numberOfA.size() <=> numberOfB.size(); order != 0) return order;
            if (const auto order = numberOfA <=> numberOfB; order != 0) return order;
        } else if (restOfA.front() == restOfB.front()) {
            restOfA.remove_prefix(1);
            restOfB.remove_prefix(1);
        } else {
            return restOfA <=> restOfB;
        }
    }
    if (restOfA.empty() != restOfB.empty()) return restOfB.empty() <=> restOfA.empty();
    return a <=> b;
}

}  // namespace TrafficPolicyCli::Diagnosis
