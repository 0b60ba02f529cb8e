// String functions. See strings.h; WCMATCH's patterns are in wildcard.h.
#include "builtins/strings.h"

#include "builtins/arguments.h"
#include "builtins/wildcard.h"
#include "core/printer.h"
#include "core/reader.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <optional>

namespace vlisp {
namespace {

// A text of one ASCII unit is a part of this one, so that taking a text apart unit by unit takes no
// memory. Made when the program is loaded, as the constants are.
constexpr std::size_t asciiCount = 128;
const TextSlice ascii = [] {
    std::array<char16_t, asciiCount> units;
    for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(i);
    return TextSlice::copyOf(units);
}();

Cell asciiText(char16_t unit) {
    return Cell::string(TextSlice(Ref<Buffer<char16_t>>(ascii.buffer()), unit, 1));
}

// The digits of an integer.
class IntegerText {
  public:
    static constexpr std::size_t longest = 11;

    explicit IntegerText(std::int32_t value) noexcept {
        std::array<char, longest> digits;
        const char* end = std::to_chars(digits.begin(), digits.end(), value).ptr;
        size_ = static_cast<std::size_t>(end - digits.begin());
        std::ranges::copy(std::string_view(digits.data(), size_), units_.begin());
    }
    [[nodiscard]] std::u16string_view view() const noexcept { return {units_.data(), size_}; }

  private:
    std::array<char16_t, longest> units_;
    std::size_t size_;
};

// Puts a text together in memory that is asked for once.
class TextBuilder {
  public:
    /// For `most` units, and no more than that.
    explicit TextBuilder(std::size_t most) {
        if (most > 0) buffer_ = Ref<Buffer<char16_t>>(Buffer<char16_t>::make(most, 0));
    }

    void append(std::u16string_view text) noexcept { std::ranges::copy(text, extend(text.size())); }
    template <class Change> void appendChanged(std::u16string_view text, Change change) noexcept {
        std::ranges::transform(text, extend(text.size()), change);
    }

    Cell take() {
        const std::uint32_t length = buffer_ ? buffer_->last : 0;
        heap::statistics().elementsCopied += length;
        return Cell::string(TextSlice(std::move(buffer_), 0, length));
    }

  private:
    char16_t* extend(std::size_t count) noexcept {
        if (count == 0) return nullptr;
        assert(count <= buffer_->capacity - buffer_->last);
        const std::uint32_t from = buffer_->last;
        buffer_->last += static_cast<std::uint32_t>(count);
        return buffer_->slots() + from;
    }

    Ref<Buffer<char16_t>> buffer_;
};

// A row of texts and integers none of which is most of the whole: copied, with one allocation. The
// most units that they have, or nothing for other rows.
std::optional<std::size_t> sizeOfEvenPieces(Arguments arguments) {
    std::size_t total = 0;
    std::size_t largest = 0;
    for (const Cell& argument : arguments) {
        const bool isText = argument.is(CellType::String);
        if (!isText && !argument.is(CellType::Integer)) return std::nullopt;
        const std::size_t size = isText ? argument.text().size() : IntegerText::longest;
        total += size;
        if (isText) largest = std::max(largest, size);
    }
    return largest * 2 <= total ? std::optional(total) : std::nullopt;
}

Cell joinEvenPieces(Arguments arguments, std::size_t most) {
    TextBuilder joined(most);
    for (const Cell& argument : arguments)
        if (argument.is(CellType::String)) joined.append(argument.text());
        else joined.append(IntegerText(argument.intValue()).view());
    return joined.take();
}

TextSlice joinedWith(const TextSlice& front, std::u16string_view back) {
    return front.withBack(std::span(back.data(), back.size()));
}

// Where one piece is most of the whole it may have room to grow (slice.h).
Cell joinByGrowing(Arguments arguments) {
    const bool begun = has(arguments, 0, CellType::String);
    TextSlice joined = begun ? arguments[0].textSlice() : TextSlice();
    for (const Cell& argument : arguments.subspan(begun ? 1 : 0)) {
        if (argument.is(CellType::Integer))
            joined = joinedWith(joined, IntegerText(argument.intValue()).view());
        else if (!argument.is(CellType::String)) joined = joinedWith(joined, PrintCell(argument));
        else if (argument.text().size() <= joined.size())
            joined = joinedWith(joined, argument.text());
        else joined = joined.joined(argument.textSlice());
    }
    return Cell::string(std::move(joined));
}

}  // namespace

Cell strcatOf(Arguments arguments) {
    if (arguments.size() > 2)
        if (const auto most = sizeOfEvenPieces(arguments)) return joinEvenPieces(arguments, *most);
    return joinByGrowing(arguments);
}

Cell substr(Arguments arguments) {
    if (arguments.size() < 2 || !has(arguments, 0, CellType::String)) return NilCell;
    const std::u16string_view text = arguments[0].text();
    const auto size = static_cast<std::int64_t>(text.size());
    const std::int64_t start =
        std::clamp<std::int64_t>(std::int64_t{arguments[1].intValue()} - 1, 0, size);
    std::int64_t count = size - start;
    if (arguments.size() > 2) count = std::clamp<std::int64_t>(arguments[2].intValue(), 0, count);
    const auto from = static_cast<std::size_t>(start);
    if (count == 1 && text[from] < asciiCount) return asciiText(text[from]);
    return Cell::string(arguments[0].textSlice().part(from, static_cast<std::size_t>(count)));
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
    TextBuilder changed(text.size());
    if (lower) changed.appendChanged(text, lowerCase);
    else changed.appendChanged(text, upperCase);
    return changed.take();
}

Cell wcmatch(Arguments arguments) {
    if (!has(arguments, 0, CellType::String) || !has(arguments, 1, CellType::String))
        return NilCell;
    return truth(matchesWildcard(arguments[0].text(), arguments[1].text()));
}

Cell itoa(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::Integer)) return NilCell;
    const IntegerText digits(arguments[0].intValue());
    if (digits.view().size() == 1) return asciiText(digits.view().front());
    TextBuilder text(digits.view().size());
    text.append(digits.view());
    return text.take();
}

Cell atoi(Arguments arguments) {
    if (arguments.size() != 1 || !has(arguments, 0, CellType::String)) return NilCell;
    return Cell::integer(integerAtFront(arguments[0].text()));
}

}  // namespace vlisp
