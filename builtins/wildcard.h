// Wildcard patterns of WCMATCH.
// One idea: each alternative of a pattern is translated into a regular expression and must match
// the whole text; patterns of plain wildcards and brackets take a shorter way to the same answer.
// Tests: tests/builtins/wildcard_test.cpp, tests/lisp/strings/.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vlisp {

/// The regular expressions (ECMAScript grammar) of a pattern's alternatives, in order. An
/// alternative that ends in a back quote, which escapes nothing, has `complete` false.
struct WildcardTranslation {
    std::u16string expression;
    bool complete = true;
};
std::vector<WildcardTranslation> translateWildcard(std::u16string_view pattern);

/// True when one of the pattern's alternatives matches the whole of `text`. An alternative whose
/// translation is not a valid regular expression matches nothing. Never throws for a pattern,
/// never overflows the stack; linear in the text for all patterns without back-references.
/// Ours: so that no pattern can take the machine, these match nothing either: an expression of more
/// than 10,000 states, groups nested more than 1000 deep, a count or back-reference of more than 9
/// digits, a match of more than 200 million steps; and with a back-reference, expression (its counts
/// written out) times text of more than 20,000 units, or a match of more than two million steps.
bool matchesWildcard(std::u16string_view text, std::u16string_view pattern);

namespace wildcard {

/// Whether the translated alternative `expression` matches the whole text, by the standard
/// library's regular expressions.
bool matchesExpression(std::u16string_view text, std::u16string_view expression);

/// Shortcut: the same without regular expressions. Answers only for alternatives made of plain
/// characters, plain wildcards and brackets of characters and ranges.
enum class Answer { no, yes, notPlain };
Answer matchesPlain(std::u16string_view text, std::u16string_view expression);

}  // namespace wildcard
}  // namespace vlisp
