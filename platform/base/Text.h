// Texts from outside as messages show them: quoted, escaped, cut when they are long; and how wide
// they are on a terminal.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "orb/Types.h"

namespace Base {

// The text in double quotes: escaped as Base::escaped() does, "\"" and "\\" with a backslash before
// them. Of a text of more than 80 bytes the beginning and "...".
ORB_EXPORT std::string inQuotes(std::string_view text);

// The text, escaped but not quoted; of one of more than maxBytes bytes the beginning and "...".
// Never cuts within a character.
ORB_EXPORT std::string shortened(std::string_view text, std::size_t maxBytes = 80);

// How many columns of a terminal a text takes when it is escaped: wide characters take two,
// combining ones none, and where the system does not know a character, each of its bytes one.
ORB_EXPORT U32 terminalColumns(std::string_view text);

// "a, b or c"; empty without choices.
ORB_EXPORT std::string choiceText(std::span<const std::string_view> choices);

}  // namespace Base
