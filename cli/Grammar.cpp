#include "cli/Grammar.h"

#include <algorithm>

#include "orb/Assert.h"
#include "orb/Nearest.h"

namespace Cli {

namespace {

// The one argument with signs of the notation in its name.
constexpr std::string_view rangeArgument = "LOW[-HIGH]";
constexpr std::string_view repeated = "...";

bool isArgument(std::string_view label) { return label.front() >= 'A' && label.front() <= 'Z'; }

bool isQuoted(std::string_view word) {
    return word.size() >= 2 && word.front() == '"' && word.back() == '"';
}

}  // namespace

const Token* Match::find(std::string_view label) const {
    const auto token = std::ranges::find(tokens, label, &Token::label);
    return token == tokens.end() ? nullptr : &*token;
}

std::string Match::name() const {
    const Token* const token = find("NAME");
    return token == nullptr ? std::string() : token->text;
}

// Adds the nodes and edges of one line.
class Grammar::LineReader {
  public:
    LineReader(std::vector<Node>& nodes, std::string_view line) : nodes_(nodes), rest_(line) {}

    // Words, optional parts and choices up to the end of the line or of the part they stand in.
    // Returns the node behind them.
    std::size_t sequence(std::size_t from) {
        for (char next = peek(); next != 0 && next != '|' && next != ']' && next != ')';
             next = peek()) {
            const std::size_t begin = from;
            from = next == '['   ? choice(begin, true)
                   : next == '(' ? choice(begin, false)
                                 : word(begin);
            peek();
            if (!rest_.starts_with(repeated)) continue;
            rest_.remove_prefix(repeated.size());
            nodes_[from].alsoAt.push_back(begin);
        }
        return from;
    }

  private:
    char peek() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        return rest_.empty() ? '\0' : rest_.front();
    }
    std::size_t makeNode() {
        nodes_.emplace_back();
        return nodes_.size() - 1;
    }
    std::size_t word(std::size_t from) {
        const std::size_t length = rest_.starts_with(rangeArgument)
                                       ? rangeArgument.size()
                                       : std::min(rest_.find_first_of(" |[]()"), rest_.size());
        const std::size_t target = makeNode();
        nodes_[from].edges.push_back({rest_.substr(0, length), target});
        rest_.remove_prefix(length);
        return target;
    }
    std::size_t choice(std::size_t from, bool isOptional) {
        std::vector<std::size_t> ends;
        if (isOptional) ends.push_back(from);
        char separator = 0;
        do {
            rest_.remove_prefix(1);
            ends.push_back(sequence(from));
            separator = peek();
        } while (separator == '|');
        ORB_ASSERT(separator == (isOptional ? ']' : ')'));
        rest_.remove_prefix(1);
        const std::size_t target = makeNode();
        for (const std::size_t end : ends) nodes_[end].alsoAt.push_back(target);
        return target;
    }

    std::vector<Node>& nodes_;
    std::string_view rest_;
};

// The nodes that the words so far lead to.
class Grammar::Walk {
  public:
    explicit Walk(const std::vector<Node>& nodes) : nodes_(nodes) { enter(0); }

    const std::vector<Token>& tokens() const { return tokens_; }

    std::optional<std::size_t> completeCommand() const {
        for (const std::size_t at : at_) {
            if (nodes_[at].complete) return nodes_[at].complete;
        }
        return std::nullopt;
    }

    // The keywords and arguments that can stand here, in the order of the lines.
    std::vector<std::string_view> labels() const {
        std::vector<std::string_view> labels;
        for (const std::size_t at : at_) {
            for (const Edge& edge : nodes_[at].edges) {
                if (std::ranges::find(labels, edge.label) == labels.end()) {
                    labels.push_back(edge.label);
                }
            }
        }
        return labels;
    }

    void take(const std::string& word) {
        const std::string_view label = labelOf(word);
        const bool isName = isQuoted(word);
        tokens_.push_back({label, isName ? word.substr(1, word.size() - 2) : word, tokens_.size()});
        const std::vector<std::size_t> before = std::move(at_);
        at_.clear();
        for (const std::size_t at : before) {
            for (const Edge& edge : nodes_[at].edges) {
                if (edge.label == label) enter(edge.target);
            }
        }
    }

    // What could stand here, for a message.
    std::string expectation() const {
        std::vector<std::string_view> choices = labels();
        if (completeCommand()) choices.push_back("the end of the command");
        return Base::choiceText(choices);
    }

    // Throws CommandError when more words are needed.
    Match finish() const {
        if (const auto command = completeCommand()) return {*command, tokens_};
        std::string problem = "the command is not complete";
        const Token* const last = tokens_.empty() ? nullptr : &tokens_.back();
        if (last != nullptr && last->label == "NAME") {
            problem += ", " + inQuotes(last->text) + " is read as a name";
        }
        throw CommandError(tokens_.size(), problem, expectation());
    }

  private:
    void enter(std::size_t node) {
        if (std::ranges::find(at_, node) != at_.end()) return;
        at_.push_back(node);
        for (const std::size_t also : nodes_[node].alsoAt) enter(also);
    }

    // What a word is read as.
    std::string_view labelOf(const std::string& word) const {
        std::vector<std::string_view> keywords;
        std::string_view argument;
        for (const std::string_view label : labels()) {
            if (isArgument(label)) {
                const bool isName = label == "NAME" || label == "MARK";
                if (!isQuoted(word) || isName) argument = label;
            } else if (label == word) {
                return label;
            } else if (label.starts_with(word)) {
                keywords.push_back(label);
            }
        }
        if (keywords.size() == 1 && !isEmpty(word)) return keywords.front();
        if (keywords.size() > 1 || argument.empty() || isEmpty(word)) {
            refuse(word, keywords, argument);
        }
        return argument;
    }
    static bool isEmpty(const std::string& word) { return word.empty() || word == "\"\""; }

    [[noreturn]] void refuse(const std::string& word, std::span<const std::string_view> keywords,
                             std::string_view argument) const {
        const std::size_t position = tokens_.size();
        if (isEmpty(word)) throw CommandError(position, "a word is empty", expectation());
        if (keywords.empty()) {
            throw CommandError(position, inQuotes(word) + " cannot stand here", expectation());
        }
        const std::string orName =
            argument == "NAME" ? ", or " + inQuotes(word) + " in double quotes for a name" : "";
        throw CommandError(position, inQuotes(word) + " is short for more than one word",
                           Base::choiceText(keywords) + orName);
    }

    const std::vector<Node>& nodes_;
    std::vector<std::size_t> at_;
    std::vector<Token> tokens_;
};

Grammar::Grammar(std::span<const std::string_view> lines) : nodes_(1) {
    for (std::size_t command = 0; command < lines.size(); ++command) {
        nodes_[LineReader(nodes_, lines[command]).sequence(0)].complete = command;
    }
}

bool Grammar::isLikeAKeyword(const std::string& word) const {
    std::vector<std::string_view> keywords;
    for (const Node& node : nodes_) {
        for (const Edge& edge : node.edges) {
            if (isArgument(edge.label)) continue;
            if (edge.label.starts_with(word)) return true;
            keywords.push_back(edge.label);
        }
    }
    return !Orb::nearest(word, keywords).empty();
}

namespace {

// "; the name goes after "policies": show traffic policies acl1".
std::string nameGoes(const std::vector<Token>& tokens, std::size_t place, bool isBefore) {
    std::string text = "; the name goes ";
    text += isBefore ? "before " + inQuotes(tokens[place + 1].label)
                     : "after " + inQuotes(tokens[place - 1].label);
    text += ":";
    for (const Token& token : tokens) {
        const bool isKeyword = !isArgument(token.label);
        text += " " + (isKeyword ? std::string(token.label) : Base::shortened(token.text));
    }
    return text;
}

}  // namespace

std::string Grammar::hintAboutName(const Words& words, std::size_t position) const {
    for (std::size_t place = 0; place < words.size(); ++place) {
        if (place == position) continue;
        Words moved = words;
        moved.erase(moved.begin() + static_cast<std::ptrdiff_t>(position));
        moved.insert(moved.begin() + static_cast<std::ptrdiff_t>(place), words[position]);
        Walk walk(nodes_);
        try {
            for (const std::string& word : moved) walk.take(word);
            const std::vector<Token> tokens = walk.finish().tokens;
            if (tokens[place].label == "NAME") return nameGoes(tokens, place, place < position);
        } catch (const CommandError&) {
            continue;
        }
    }
    return "";
}

Match Grammar::match(const Words& words) const {
    Walk walk(nodes_);
    try {
        for (const std::string& word : words) walk.take(word);
        return walk.finish();
    } catch (const CommandError& error) {
        const std::size_t position = error.position();
        if (position == words.size()) throw;
        if (isLikeAKeyword(words[position])) throw;
        throw CommandError(position, error.what(),
                           error.expected() + hintAboutName(words, position));
    }
}

Grammar::Position Grammar::after(const Words& words) const {
    Walk walk(nodes_);
    for (const std::string& word : words) walk.take(word);
    return {{0, walk.tokens()}, walk.labels(), walk.completeCommand().has_value()};
}

}  // namespace Cli
