// See drawing_mutator.h.
#include "fuzz/drawing_mutator.h"

#include "refhost/dxf/changes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

using namespace vlisp::refhost::dxf;

constexpr std::string_view binaryMark("Velmora Binary DXF\r\n\x1A\0", 22);

// Codes that the reader treats in a way of their own, and one of each type.
constexpr int codes[] = {0,    1,    2,    3,    5,    6,    7,    8,   9,   10,  11,  12,  13,
                         20,   21,   22,   23,   30,   31,   39,   40,  41,  42,  43,  44,  45,
                         48,   50,   51,   60,   62,   66,   67,   70,  71,  72,  73,  74,  75,
                         76,   78,   90,   91,   92,   93,   100,  101, 102, 105, 160, 210, 220,
                         230,  290,  310,  330,  340,  347,  360,  370, 410, 420, 440, 999, 1000,
                         1001, 1002, 1004, 1010, 1040, 1070, 1071, -5,  -1,  255, 300};

constexpr std::string_view numbers[] = {"0",
                                        "1",
                                        "-1",
                                        "2",
                                        "3",
                                        "4",
                                        "7",
                                        "64",
                                        "128",
                                        "255",
                                        "256",
                                        "-256",
                                        "32767",
                                        "-32768",
                                        "65536",
                                        "2147483647",
                                        "-2147483648",
                                        "4294967296",
                                        "9223372036854775807",
                                        "0.1",
                                        "-0.0",
                                        "2.5",
                                        "1e-320",
                                        "1e150",
                                        "1E308",
                                        "1e400",
                                        "-1e400",
                                        "inf",
                                        "nan",
                                        "  1  ",
                                        "+5",
                                        "1.",
                                        ".5",
                                        "00012.500",
                                        "0.3333333333333333",
                                        "90",
                                        "360",
                                        "1000000"};

constexpr std::string_view texts[] = {"",
                                      " ",
                                      "0",
                                      "A",
                                      "a",
                                      "WALLS",
                                      "DOOR",
                                      "*Model_Space",
                                      "*MODEL_SPACE",
                                      "*Paper_Space",
                                      "CONTINUOUS",
                                      "BYLAYER",
                                      "{ACAD_REACTORS",
                                      "}",
                                      "{",
                                      "AcDbEntity",
                                      "AcDbCircle",
                                      "Embedded Object",
                                      "AC1009",
                                      "AC1012",
                                      "AC1014",
                                      "AC1015",
                                      "AC1021",
                                      "AC1032",
                                      "AC2.10",
                                      "ANSI_1252",
                                      "ANSI_932",
                                      "ANSI_936",
                                      "dos850",
                                      "ANSI_1361",
                                      "UTF-8",
                                      "\xC3\xA9",
                                      "\x80\xFF",
                                      "\x81",
                                      "\\U+00E9",
                                      "\\U+DC80",
                                      "\\U+D83D\\U+DE00",
                                      "\\U+",
                                      "\\M+18140",
                                      "^J",
                                      "^",
                                      "^ ",
                                      "^@",
                                      "%%c",
                                      "%%u",
                                      "\\P",
                                      "{\\fArial;x}",
                                      "FF",
                                      "1F",
                                      "FFFFFFFFFFFFFFFF",
                                      "7FFFFFFF",
                                      "6FFFFFFF",
                                      "ABCDEF0123456789"};

// Values of pairs 0, 2 of a section or table, and 9.
constexpr std::string_view types[] = {
    "SECTION",  "ENDSEC",    "TABLE",        "ENDTAB",     "BLOCK",    "ENDBLK",     "EOF",
    "LINE",     "CIRCLE",    "ARC",          "TEXT",       "MTEXT",    "INSERT",     "ATTRIB",
    "SEQEND",   "POLYLINE",  "VERTEX",       "LWPOLYLINE", "POINT",    "SOLID",      "TRACE",
    "3DFACE",   "ELLIPSE",   "SPLINE",       "HATCH",      "LEADER",   "MLINE",      "IMAGE",
    "WIPEOUT",  "DIMENSION", "HELIX",        "MPOLYGON",   "VIEWPORT", "ATTDEF",     "LAYER",
    "LTYPE",    "STYLE",     "BLOCK_RECORD", "APPID",      "DIMSTYLE", "ACAD_TABLE", "DICTIONARY",
    "OLE2FRAME"};
constexpr std::string_view names[] = {
    "HEADER", "CLASSES", "TABLES", "BLOCKS", "ENTITIES", "OBJECTS",     "THUMBNAILIMAGE",
    "LAYER",  "LTYPE",   "STYLE",  "APPID",  "DIMSTYLE", "BLOCK_RECORD"};
constexpr std::string_view variables[] = {"$ACADVER", "$DWGCODEPAGE", "$HANDSEED", "$CLAYER",
                                          "$CECOLOR", "$CELTYPE",     "$LIMMAX",   "$ANGBASE",
                                          "$USERI1",  "$USERR1",      "$INSBASE",  "$TEXTSTYLE"};

struct Piece {
    int code = 0;
    std::string bytes;  // the whole pair
    std::string value;  // as people read it
};

// A file as its pairs; what is behind the last that can be read is kept as it is.
class Pairs {
  public:
    explicit Pairs(std::string_view bytes) : opening_(openingOf(bytes)) {
        style_.form = opening_.form;
        PairReader reader(bytes, opening_.form, opening_.begin, bytes.size());
        Pair pair;
        std::uint64_t end = opening_.begin;
        try {
            while (reader.next(pair)) {
                const std::string_view whole = bytes.substr(pair.begin, pair.end - pair.begin);
                pieces.push_back(
                    {pair.code, std::string(whole), Value(bytes, opening_.form, pair).readable()});
                end = pair.end;
            }
        } catch (const Damage&) {
        }
        head_ = bytes.substr(0, opening_.begin);
        rest_ = bytes.substr(end);
        if (pieces.empty() || opening_.form != Form::text) return;
        if (pieces.front().bytes.find('\r') != std::string::npos) style_.lineEnd = "\r\n";
        style_.paddedCodes = pieces.front().bytes.front() == ' ';
    }

    [[nodiscard]] std::string joined() const {
        std::string all = head_;
        for (const Piece& piece : pieces) all += piece.bytes;
        return all + rest_;
    }

    [[nodiscard]] Piece made(int code, const std::string& value) const {
        Piece piece{code, {}, value};
        const ValueType type = valueTypeOf(code);
        if (style_.form == Form::text || type == ValueType::text) {
            appendText(piece.bytes, style_, code,
                       std::string_view(value).substr(0, value.find('\0')));
        } else if (type == ValueType::chunk) {
            appendText(piece.bytes, style_, code, {});
            piece.bytes += static_cast<char>(value.size() & 0x7f);
            piece.bytes += value.substr(0, value.size() & 0x7f);
        } else if (type == ValueType::real) {
            appendReal(piece.bytes, style_, code, numberOf(value).value_or(0));
        } else {
            constexpr double most = 9e18;
            const double number = numberOf(value).value_or(0);
            // The writer takes what the type holds.
            appendInteger(piece.bytes, style_, code,
                          held(type, static_cast<std::int64_t>(
                                         number == number ? std::clamp(number, -most, most) : 0)));
        }
        return piece;
    }

    // Writes all pairs in another form, or with other line ends.
    void convert(Form form, std::string_view lineEnd, bool padded) {
        style_.form = form;
        style_.lineEnd = lineEnd;
        style_.paddedCodes = padded;
        style_.paddedNumbers = padded;
        head_ = form == Form::text ? std::string_view() : binaryMark;
        for (Piece& piece : pieces) piece = made(piece.code, piece.value);
    }

    std::vector<Piece> pieces;

  private:
    static std::int64_t held(ValueType type, std::int64_t number) {
        switch (type) {
        case ValueType::int16:
            return std::clamp<std::int64_t>(number, std::numeric_limits<std::int16_t>::min(),
                                            std::numeric_limits<std::int16_t>::max());
        case ValueType::int32:
            return std::clamp<std::int64_t>(number, std::numeric_limits<std::int32_t>::min(),
                                            std::numeric_limits<std::int32_t>::max());
        case ValueType::boolean: return number & 1;
        default: return number;
        }
    }

    Opening opening_;
    Style style_;
    std::string head_;
    std::string rest_;
};

class Mutation {
  public:
    Mutation(Pairs& pairs, unsigned seed) : pairs_(pairs), pieces_(pairs.pieces), random_(seed) {}

    void run() {
        const std::size_t rounds = 1 + below(4);
        for (std::size_t i = 0; i < rounds; ++i) {
            if (pieces_.empty()) pieces_.push_back(pairs_.made(0, "SECTION"));
            change();
        }
    }

  private:
    [[nodiscard]] std::size_t below(std::size_t bound) { return random_() % bound; }
    template <class Array> [[nodiscard]] std::string oneOf(const Array& array) {
        return std::string(array[below(std::size(array))]);
    }

    void change() {
        const std::size_t at = below(pieces_.size());
        switch (below(16)) {
        case 0: return insertPair(at);
        case 1: return remove(at, at + 1);
        case 2: return duplicate(at, at + 1);
        case 3: return std::swap(pieces_[at], pieces_[below(pieces_.size())]);
        case 4: return changeCode(at);
        case 5: {
            const auto [begin, end] = record(at);
            return remove(begin, end);
        }
        case 6:
        case 7: {
            const auto [begin, end] = record(at);
            return duplicate(begin, end);
        }
        case 8: return swapRecords(at);
        case 9: return copyValue(at);
        case 10: return convert();
        default: return changeValue(at);
        }
    }

    // From a pair 0 to the next.
    [[nodiscard]] std::pair<std::size_t, std::size_t> record(std::size_t at) const {
        std::size_t begin = at;
        while (begin > 0 && pieces_[begin].code != 0) --begin;
        std::size_t end = at + 1;
        while (end < pieces_.size() && pieces_[end].code != 0) ++end;
        return {begin, end};
    }

    static auto offset(std::size_t at) { return static_cast<std::ptrdiff_t>(at); }

    void remove(std::size_t begin, std::size_t end) {
        pieces_.erase(pieces_.begin() + offset(begin), pieces_.begin() + offset(end));
    }

    // To the beginning of a record, or anywhere.
    void duplicate(std::size_t begin, std::size_t end) {
        const std::vector<Piece> copy(pieces_.begin() + offset(begin),
                                      pieces_.begin() + offset(end));
        std::size_t to = below(pieces_.size());
        if (below(8) != 0 && copy.front().code == 0) to = record(to).first;
        else if (below(2) == 0) to = end;
        pieces_.insert(pieces_.begin() + offset(to), copy.begin(), copy.end());
    }

    void swapRecords(std::size_t at) {
        const auto [begin, end] = record(at);
        if (end == pieces_.size()) return;
        const std::size_t nextEnd = record(end).second;
        std::rotate(pieces_.begin() + offset(begin), pieces_.begin() + offset(end),
                    pieces_.begin() + offset(nextEnd));
    }

    [[nodiscard]] std::string valueFor(int code, const std::string& old) {
        if (code == 0 && below(8) != 0) return oneOf(types);
        if (code == 2 && below(3) == 0) return oneOf(names);
        if (code == 9 && below(4) != 0) return oneOf(variables);
        if (isNumber(valueTypeOf(code))) return oneOf(numbers);
        switch (below(6)) {
        case 0: return old + oneOf(texts);
        case 1: return oneOf(texts) + old;
        case 2: return old.substr(0, below(old.size() + 1));
        case 3: return std::string(below(700), "x\xC3"[below(2)]);
        default: return oneOf(texts);
        }
    }

    void insertPair(std::size_t at) {
        const int code = codes[below(std::size(codes))];
        pieces_.insert(pieces_.begin() + offset(at), pairs_.made(code, valueFor(code, {})));
    }

    void changeCode(std::size_t at) {
        const int code = codes[below(std::size(codes))];
        const std::string value =
            below(2) == 0 ? pieces_[at].value : valueFor(code, pieces_[at].value);
        pieces_[at] = pairs_.made(code, value);
    }

    void changeValue(std::size_t at) {
        Piece& piece = pieces_[at];
        piece = pairs_.made(piece.code, valueFor(piece.code, piece.value));
    }

    // What refers to something refers to something else that there is.
    void copyValue(std::size_t at) {
        std::vector<const Piece*> others;
        for (const Piece& piece : pieces_)
            if (piece.code == pieces_[at].code) others.push_back(&piece);
        pieces_[at] = Piece(*others[below(others.size())]);
    }

    void convert() {
        switch (below(12)) {
        case 0: return pairs_.convert(Form::binary, "\n", false);
        case 1: return pairs_.convert(Form::binaryShortCodes, "\n", false);
        case 2: return pairs_.convert(Form::text, "\r\n", true);
        case 3: return pairs_.convert(Form::text, "\n", false);
        default: return changeValue(below(pieces_.size()));
        }
    }

    Pairs& pairs_;
    std::vector<Piece>& pieces_;
    std::minstd_rand random_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
    if (seed % 8 == 0) return LLVMFuzzerMutate(data, size, most);
    std::size_t first = 0;
    if (vlisp::fuzz::drawingBehindFirstLine) {
        const auto* const end = std::find(data, data + size, std::uint8_t{'\n'});
        first = static_cast<std::size_t>(end - data) + (end < data + size ? 1 : 0);
        // The line is short and worth as much as the drawing.
        if (seed % 3 == 0 && first > 0 && first + 1 < most) {
            std::string drawing(data + first, data + size);
            constexpr std::size_t longestLine = 200;
            const std::size_t room = std::min(most - drawing.size() - 1, longestLine);
            std::size_t length =
                LLVMFuzzerMutate(data, std::min(first - 1, room), std::max<std::size_t>(room, 1));
            std::replace(data, data + length, std::uint8_t{'\n'}, std::uint8_t{' '});
            data[length++] = '\n';
            drawing.resize(std::min(drawing.size(), most - length));
            std::copy(drawing.begin(), drawing.end(), data + length);
            return length + drawing.size();
        }
    }
    Pairs pairs({reinterpret_cast<const char*>(data) + first, size - first});
    Mutation(pairs, seed).run();
    const std::string changed = pairs.joined();
    if (changed.size() > most - first) return LLVMFuzzerMutate(data, size, most);
    std::memcpy(data + first, changed.data(), changed.size());
    return first + changed.size();
}
