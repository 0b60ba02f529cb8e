// String functions. See strings.h; WCMATCH's patterns are in wildcard.h.
#include "builtins/strings.h"

#include "builtins/arguments.h"
#include "builtins/wildcard.h"
#include "core/printer.h"
#include "core/reader.h"

#include <algorithm>

namespace vlisp {

Cell strcatOf(Arguments arguments) {
    TextSlice joined;
    for (const Cell& argument : arguments) {
        if (argument.is(CellType::String)) {
            joined = joined.joined(argument.textSlice());
        } else {
            const std::u16string printed = PrintCell(argument);
            joined = joined.withBack(std::span(printed.data(), printed.size()));
        }
    }
    return Cell::string(std::move(joined));
}

Cell substr(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 0, CellType::String)) return NilCell;
    const TextSlice text = arguments[0].textSlice();
    const std::int64_t size = text.size();
    const std::int64_t start =
        std::clamp<std::int64_t>(std::int64_t{arguments[1].intValue()} - 1, 0, size);
    std::int64_t count = size - start;
    if (arguments.size() > 2) count = std::clamp<std::int64_t>(arguments[2].intValue(), 0, count);
    return Cell::string(
        text.part(static_cast<std::size_t>(start), static_cast<std::size_t>(count)));
}

Cell strlenOf(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::String)) return NilCell;
    return Cell::integer(static_cast<std::int32_t>(arguments[0].text().size()));
}

Cell strcase(Arguments arguments) {
    if (!has(arguments, 0, CellType::String)) return NilCell;
    // On purpose: the flag's text alone decides, so "T" asks for lower case as T does, and 1 does
    // not.
    const bool lower = argumentOrEmpty(arguments, 1).text() == TrueCell.text();
    const std::u16string_view text = arguments[0].text();
    SliceBuilder<char16_t> changed(text.size());
    for (const char16_t unit : text) changed.push(lower ? lowerCase(unit) : upperCase(unit));
    return Cell::string(changed.take());
}

Cell wcmatch(Arguments arguments) {
    if (!has(arguments, 0, CellType::String) || !has(arguments, 1, CellType::String))
        return NilCell;
    return truth(matchesWildcard(arguments[0].text(), arguments[1].text()));
}

Cell itoa(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::Integer)) return NilCell;
    std::u16string digits;
    printInteger(digits, arguments[0].intValue());
    return Cell::string(digits);
}

Cell atoi(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::String)) return NilCell;
    return Cell::integer(integerAtFront(arguments[0].text()));
}

}  // namespace vlisp
