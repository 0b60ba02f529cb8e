// Texts of drawing files. See text_codec.h.
// One idea: there is one reader, `pieceAt`, which reads the next character or escape and looks only
// forward. The writer goes from the end of the text to its front, so that all that the reader would
// see is written already, and takes the first spelling that the reader reads as what is meant.
#include "refhost/dxf/text_codec.h"

#include "platform/text_encoding.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <optional>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace vlisp::refhost::dxf {
namespace {

using platform::CodePage;

constexpr char16_t undecodedByte = 0xdc00;  // plus the byte

constexpr bool isHigh(char16_t unit) { return unit >= 0xd800 && unit < 0xdc00; }
constexpr bool isLow(char16_t unit) { return unit >= 0xdc00 && unit < 0xe000; }

/// What the reader finds at one place.
struct Piece {
    std::array<char16_t, 2> units{};
    std::uint8_t count = 1;   // units
    std::uint8_t length = 1;  // bytes

    [[nodiscard]] std::u16string_view text() const noexcept { return {units.data(), count}; }
};

std::uint8_t byteAt(std::string_view bytes, std::size_t index) {
    return index < bytes.size() ? static_cast<std::uint8_t>(bytes[index]) : std::uint8_t{0};
}

Piece pieceOfPoint(char32_t point, std::uint8_t length) {
    if (point < 0x10000) return {{static_cast<char16_t>(point)}, 1, length};
    const char32_t rest = point - 0x10000;
    return {{static_cast<char16_t>(0xd800 + (rest >> 10)),
             static_cast<char16_t>(0xdc00 + (rest & 0x3ff))},
            2,
            length};
}

// A character of several bytes in UTF-8, or its first byte alone where they are none.
Piece utf8CharacterAt(std::string_view bytes) {
    const std::uint8_t first = byteAt(bytes, 0);
    const Piece undecoded{{static_cast<char16_t>(undecodedByte + first)}, 1, 1};
    const unsigned more = first < 0xc2 ? 0 : first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
    if (more == 0 || first > 0xf4) return undecoded;
    char32_t point = first & (0x3fU >> more);
    for (unsigned i = 1; i <= more; ++i) {
        const std::uint8_t next = byteAt(bytes, i);
        if ((next & 0xc0) != 0x80) return undecoded;
        point = point << 6 | (next & 0x3f);
    }
    constexpr std::array<char32_t, 4> lowest{0, 0x80, 0x800, 0x10000};
    const bool surrogate = point >= 0xd800 && point < 0xe000;
    if (point < lowest[more] || point > 0x10ffff || surrogate) return undecoded;
    return pieceOfPoint(point, static_cast<std::uint8_t>(more + 1));
}

// The next character, escapes not regarded. A null page is UTF-8.
Piece characterAt(const CodePage* page, std::string_view bytes) {
    const std::uint8_t first = byteAt(bytes, 0);
    if (first == 0) return {{u'^', u'@'}, 2, 1};
    if (first < 0x80) return {{first}, 1, 1};
    if (page == nullptr) return utf8CharacterAt(bytes);
    const CodePage::Character character = page->decodeFirst(bytes);
    return {{character.unit}, 1, character.length};
}

// Four hexadecimal digits, as a number.
std::optional<char16_t> hexAt(std::string_view bytes, std::size_t index) {
    if (bytes.size() < index + 4) return std::nullopt;
    std::uint16_t number = 0;
    const char* const begin = bytes.data() + index;
    const auto [end, failure] = std::from_chars(begin, begin + 4, number, 16);
    if (failure != std::errc() || end != begin + 4) return std::nullopt;
    return number;
}

constexpr std::uint8_t unicodeEscapeLength = 7;  // \U+XXXX
constexpr std::uint8_t pageEscapeLength = 8;     // \M+nXXXX

std::optional<char16_t> unicodeEscapeAt(std::string_view bytes) {
    if (!bytes.starts_with("\\U+")) return std::nullopt;
    return hexAt(bytes, 3);
}

// Whether a byte is read as the lone surrogate of its number when `after` follows.
bool standsAsByte(const CodePage* page, char16_t unit, std::string_view after) {
    std::array<char, 4> bytes{static_cast<char>(unit & 0xff)};
    const std::size_t count = after.copy(bytes.data() + 1, bytes.size() - 1);
    const Piece piece = characterAt(page, {bytes.data(), count + 1});
    return piece.count == 1 && piece.units[0] == unit;
}

std::optional<Piece> unicodePieceAt(const CodePage* page, std::string_view bytes) {
    const std::optional<char16_t> unit = unicodeEscapeAt(bytes);
    if (!unit || *unit == 0) return std::nullopt;
    const std::string_view after = bytes.substr(unicodeEscapeLength);
    if (isHigh(*unit))
        if (const auto low = unicodeEscapeAt(after); low && isLow(*low))
            return Piece{{*unit, *low}, 2, 2 * unicodeEscapeLength};
    const bool ofByte = *unit >= undecodedByte + 0x80 && *unit <= undecodedByte + 0xff;
    if (ofByte && standsAsByte(page, *unit, after)) return std::nullopt;
    return Piece{{*unit}, 1, unicodeEscapeLength};
}

std::optional<Piece> pagePieceAt(std::string_view bytes) {
    constexpr std::array<int, 5> pages{932, 950, 949, 1361, 936};
    if (!bytes.starts_with("\\M+") || byteAt(bytes, 3) < '1' || byteAt(bytes, 3) > '5')
        return std::nullopt;
    const std::optional<char16_t> code = hexAt(bytes, 4);
    const CodePage* const page = CodePage::find(pages[byteAt(bytes, 3) - std::size_t{'1'}]);
    if (!code || page == nullptr) return std::nullopt;
    const std::array<char, 2> pair{static_cast<char>(*code >> 8), static_cast<char>(*code & 0xff)};
    const CodePage::Character character = page->decodeFirst({pair.data(), pair.size()});
    if (character.length != 2) return std::nullopt;
    return Piece{{character.unit}, 1, pageEscapeLength};
}

std::optional<Piece> caretPieceAt(std::string_view bytes) {
    const std::uint8_t code = byteAt(bytes, 1);
    if (code == ' ') return Piece{{u'^'}, 1, 2};
    if (code <= '@' || code > '_') return std::nullopt;
    return Piece{{static_cast<char16_t>(code - '@')}, 1, 2};
}

// The reader: the character or escape at the front of `bytes`, which are not empty and begin with a
// whole character. Escapes are looked for only there: a second byte may look like a backslash.
Piece pieceAt(const CodePage* page, std::string_view bytes) {
    std::optional<Piece> escape;
    if (bytes.front() == '^') escape = caretPieceAt(bytes);
    if (bytes.front() == '\\') {
        escape = unicodePieceAt(page, bytes);
        if (!escape) escape = pagePieceAt(bytes);
    }
    return escape ? *escape : characterAt(page, bytes);
}

template <typename Unit> bool isPlainUnit(Unit unit) {
    const auto code = static_cast<std::make_unsigned_t<Unit>>(unit);
    return (code >= 0x20) & (code < 0x80) & (code != '\\') & (code != '^');
}

// Whether units or bytes are ASCII that no escape and no control character is among. Looks at all of
// them, which is faster than to stop: the loop has no branch.
template <typename View> bool isPlain(View text) {
    bool plain = true;
    for (const auto unit : text) plain &= isPlainUnit(unit);
    return plain;
}

std::string unicodeEscapes(std::u16string_view units) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string escapes;
    for (const char16_t unit : units) {
        escapes += "\\U+";
        for (const int shift : {12, 8, 4, 0})
            escapes += digits[static_cast<std::size_t>(unit >> shift & 0xf)];
    }
    return escapes;
}

char32_t pointOf(std::u16string_view units) {
    if (units.size() == 1) return units[0];
    return 0x10000 + ((units[0] - char32_t{0xd800}) << 10) + (units[1] - char32_t{0xdc00});
}

std::string utf8Bytes(std::u16string_view units) {
    const char32_t point = pointOf(units);
    const auto continued = [point](int shift) {
        return static_cast<char>(0x80 | (point >> shift & 0x3f));
    };
    if (point < 0x80) return {static_cast<char>(point)};
    if (point < 0x800) return {static_cast<char>(0xc0 | point >> 6), continued(0)};
    if (point < 0x10000) return {static_cast<char>(0xe0 | point >> 12), continued(6), continued(0)};
    return {static_cast<char>(0xf0 | point >> 18), continued(12), continued(6), continued(0)};
}

// A character without escape; empty when it has no bytes of its own.
std::string bytesOf(const CodePage* page, std::u16string_view units) {
    if (page != nullptr)
        return units.size() == 1 ? std::string(page->encode(units[0]).view()) : std::string();
    if (units.size() == 2 || !(isHigh(units[0]) || isLow(units[0]))) return utf8Bytes(units);
    if (units[0] >= undecodedByte + 0x80 && units[0] <= undecodedByte + 0xff)
        return {static_cast<char>(units[0] & 0xff)};
    return {};
}

std::string caretCode(char16_t control) { return {'^', static_cast<char>(control + '@')}; }

// How a character is written when nothing beside it matters.
std::string usualSpelling(const CodePage* page, std::u16string_view units) {
    if (units[0] < 0x20) return caretCode(units[0]);
    std::string bytes = bytesOf(page, units);
    return bytes.empty() ? unicodeEscapes(units) : bytes;
}

/// A piece of the text that stood there before.
struct Former {
    Piece piece;
    std::string_view spelling;

    /// Not where it has a line end in the middle of a line.
    [[nodiscard]] bool isUsable() const noexcept { return spelling != "\n" && spelling != "\r"; }
};

std::vector<Former> formerPieces(const CodePage* page, std::string_view bytes) {
    std::vector<Former> pieces;
    pieces.reserve(bytes.size());
    while (!bytes.empty()) {
        const Piece piece = pieceAt(page, bytes);
        pieces.push_back({piece, bytes.substr(0, piece.length)});
        bytes.remove_prefix(piece.length);
    }
    return pieces;
}

/// How many pieces of the former text, and units of the new one, begin or end both.
struct Alike {
    std::size_t pieces = 0;
    std::size_t units = 0;
};

// A place between the halves of a surrogate pair.
bool splitsPair(std::u16string_view text, std::size_t place) {
    return place > 0 && place < text.size() && isHigh(text[place - 1]) && isLow(text[place]);
}

Alike commonFront(const std::vector<Former>& former, std::u16string_view text) {
    Alike alike;
    for (const Former& each : former) {
        if (!text.substr(alike.units).starts_with(each.piece.text())) break;
        alike.units += each.piece.count;
        ++alike.pieces;
    }
    return alike;
}

// `text` is what the common front has left, and so are `former`'s pieces from `from` on.
Alike commonBack(const std::vector<Former>& former, std::size_t from, std::u16string_view text) {
    Alike alike;
    for (std::size_t i = former.size(); i > from; --i) {
        const std::u16string_view units = former[i - 1].piece.text();
        if (!text.substr(0, text.size() - alike.units).ends_with(units)) break;
        alike.units += units.size();
        ++alike.pieces;
    }
    return alike;
}

/// Writes one text, from its end to its front.
class Writer {
  public:
    Writer(const CodePage* page, std::u16string_view text)
        : page_(page), text_(text), buffer_(text.size() * longestOfUnit, '\0'),
          begin_(buffer_.size()) {}

    /// False when some character found no spelling before what follows it, which can happen only
    /// where former spellings are taken.
    [[nodiscard]] bool write(const std::vector<Former>& former) {
        const Alike front = commonFront(former, text_);
        const Alike back = commonBack(former, front.pieces, text_.substr(front.units));
        const std::size_t middleEnd = text_.size() - back.units;
        if (front.units < middleEnd) remember(former);
        return putFormer(former, former.size() - back.pieces, former.size(), text_.size()) &&
               putRange(front.units, middleEnd) && putFormer(former, 0, front.pieces, front.units);
    }

    [[nodiscard]] std::string result() const { return buffer_.substr(begin_); }

  private:
    static constexpr std::size_t longestOfUnit = pageEscapeLength;

    [[nodiscard]] std::string_view written() const noexcept {
        return std::string_view(buffer_).substr(begin_);
    }

    void put(std::string_view spelling) {
        assert(spelling.size() <= begin_);
        begin_ -= spelling.size();
        spelling.copy(buffer_.data() + begin_, spelling.size());
    }

    // Puts `spelling` in front if the reader would take it, where it stands, for `units`.
    bool tryPut(std::string_view spelling, std::u16string_view units) {
        if (spelling.empty()) return false;
        put(spelling);
        const Piece piece = pieceAt(page_, written());
        if (piece.length == spelling.size() && piece.text() == units) return true;
        begin_ += spelling.size();
        return false;
    }

    // Unusual spellings of the former text, by character. Not those of backslash and caret: whether
    // these need one depends on their neighbours, and other programs look for plain ones.
    void remember(const std::vector<Former>& former) {
        for (const Former& each : former) {
            const std::u16string_view units = each.piece.text();
            const bool single = units.size() == 1;
            if (single && (units[0] == u'\\' || units[0] == u'^')) continue;
            if (!single && !splitsPair(units, 1)) continue;
            if (!each.isUsable() || isPlain(each.spelling)) continue;
            if (each.spelling != usualSpelling(page_, units))
                unusual_.try_emplace(pointOf(units), each.spelling);
        }
    }

    // The former pieces from `from` to `to`, whose units end at `unitsEnd`.
    bool putFormer(const std::vector<Former>& former, std::size_t from, std::size_t to,
                   std::size_t unitsEnd) {
        for (std::size_t i = to; i > from; --i) {
            const Former& each = former[i - 1];
            const std::size_t unitsBegin = unitsEnd - each.piece.count;
            const bool again = each.isUsable() && tryPut(each.spelling, each.piece.text());
            if (!again && !putRange(unitsBegin, unitsEnd)) return false;
            unitsEnd = unitsBegin;
        }
        return true;
    }

    bool putRange(std::size_t from, std::size_t to) {
        while (to > from) {
            const bool pair = to - from >= 2 && splitsPair(text_, to - 1);
            const std::size_t begin = to - (pair ? 2 : 1);
            if (!putCharacter(begin, to)) return false;
            to = begin;
        }
        return true;
    }

    bool putCharacter(std::size_t begin, std::size_t end) {
        const std::u16string_view units = text_.substr(begin, end - begin);
        const char16_t unit = units[0];
        if (unit == 0) {  // what no text holds; read as these two characters
            put("^@");
            return true;
        }
        if (const auto found = unusual_.find(pointOf(units));
            found != unusual_.end() && tryPut(found->second, units))
            return true;
        if (unit < 0x20) return tryPut(caretCode(unit), units);
        const bool taken = mayStandPlain(begin) && tryPut(bytesOf(page_, units), units);
        return taken || (unit == u'^' && tryPut("^ ", units)) ||
               tryPut(unicodeEscapes(units), units);
    }

    [[nodiscard]] bool mayStandPlain(std::size_t index) const {
        // For other programs ^@ may be a zero.
        if (text_[index] == u'^') return !written().starts_with('@');
        // An escape of half a pair would take the text of another for its second half.
        return text_[index] != u'\\' || index == 0 || !isHigh(text_[index - 1]);
    }

    const CodePage* page_;
    std::u16string_view text_;
    std::string buffer_;
    std::size_t begin_;  // of what is written
    std::unordered_map<char32_t, std::string_view> unusual_;
};

// The number in a name such as "ansi1252" after `prefix`; 0 when it is another name.
int numberAfter(std::string_view name, std::string_view prefix) {
    if (!name.starts_with(prefix)) return 0;
    name.remove_prefix(prefix.size());
    int number = 0;
    const auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), number);
    return failure == std::errc() && end == name.data() + name.size() ? number : 0;
}

// The code page that a file's header names; null when the name says nothing.
const CodePage* pageNamed(std::string_view given) {
    std::string name;  // small letters and digits
    for (const char c : given) {
        if (c >= 'A' && c <= 'Z') name += static_cast<char>(c - 'A' + 'a');
        else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) name += c;
    }
    struct Alias {
        std::string_view name;
        int number;
    };
    constexpr Alias aliases[] = {{"ascii", 20127}, {"usascii", 20127},  {"big5", 950},
                                 {"gb2312", 936},  {"gbk", 936},        {"johab", 1361},
                                 {"ksc5601", 949}, {"macroman", 10000}, {"macintosh", 10000},
                                 {"shiftjis", 932}};
    const auto* const alias = std::ranges::find(aliases, name, &Alias::name);
    if (alias != std::end(aliases)) return CodePage::find(alias->number);
    for (const std::string_view prefix : {"ansi", "dos", "cp"})
        if (const int number = numberAfter(name, prefix); number != 0)
            return CodePage::find(number);
    const int part = numberAfter(name, "iso8859");
    return part > 0 && part < 16 ? CodePage::find(28590 + part) : nullptr;
}

}  // namespace

TextCodec::TextCodec(std::string_view version, std::string_view codePage)
    : utf8_(version >= "AC1021" && version.find('.') == std::string_view::npos) {
    if (utf8_) return;
    codePage_ = pageNamed(codePage);
    if (codePage_ == nullptr) codePage_ = CodePage::find(1252);
}

std::u16string TextCodec::decode(std::string_view bytes) const {
    if (isPlain(bytes)) return {bytes.begin(), bytes.end()};
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        if (isPlainUnit(bytes.front())) {
            text += static_cast<char16_t>(bytes.front());
            bytes.remove_prefix(1);
            continue;
        }
        const Piece piece = pieceAt(codePage_, bytes);
        text += piece.text();
        bytes.remove_prefix(piece.length);
    }
    return text;
}

std::string TextCodec::encode(std::u16string_view text, std::string_view before) const {
    // Plain characters are spelled otherwise only by escapes.
    if (isPlain(text) && before.find('\\') == std::string_view::npos) {
        std::string bytes(text.size(), '\0');
        std::ranges::transform(text, bytes.begin(),
                               [](char16_t c) { return static_cast<char>(c); });
        return bytes;
    }
    Writer writer(codePage_, text);
    if (writer.write(formerPieces(codePage_, before))) return writer.result();
    // Rare: half of a surrogate pair was taken for the lone one that stood there.
    Writer afresh(codePage_, text);
    [[maybe_unused]] const bool done = afresh.write({});
    assert(done);
    return afresh.result();
}

}  // namespace vlisp::refhost::dxf
