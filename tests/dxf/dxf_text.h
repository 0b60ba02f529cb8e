// Drawing files for tests, from a short notation: "0 LINE|8 0|10 1.5|20 2.0".
// One idea: this writer and reader of pairs share nothing with the one under test, so that the two
// check each other; a file of the text form and one of the binary form come from one notation.
#pragma once

#include "refhost/dxf/document.h"
#include "refhost/model/objects.h"
#include "tests/support/comma_locale.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlisp::refhost::dxf::test {

using vlisp::test::CommaLocale;

// --- Pairs ------------------------------------------------------------------------------------

struct TestPair {
    int code = 0;
    std::string value;
};

/// How the pairs of a file look.
struct Look {
    Form form = Form::text;
    std::string_view lineEnd = "\n";
    bool padded = false;  ///< codes three wide, whole numbers six or nine wide
};

inline constexpr Look plain{};
inline constexpr Look windows{Form::text, "\r\n"};
inline constexpr Look padded{Form::text, "\r\n", true};
inline constexpr Look binary{Form::binary};
inline constexpr Look shortBinary{Form::binaryShortCodes};
inline constexpr Look everyLook[] = {plain, windows, padded, binary, shortBinary};

/// What the values of a code are in the binary form: 't' text, 'd' real, 'x' bytes, or the size of
/// a whole number.
inline char kindOf(int code) {
    const auto within = [code](int first, int last) { return code >= first && code <= last; };
    if (within(10, 59) || within(110, 149) || within(210, 239) || within(460, 469) ||
        within(1010, 1059))
        return 'd';
    if (within(60, 79) || within(170, 179) || within(270, 289) || within(370, 389) ||
        within(400, 409) || within(1060, 1070))
        return '2';
    if (within(90, 99) || within(420, 429) || within(440, 459) || code == 1071) return '4';
    if (within(160, 169)) return '8';
    if (within(290, 299)) return '1';
    if (within(310, 319) || code == 1004) return 'x';
    return 't';
}

inline std::string_view withoutBlanks(std::string_view text) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

template <class Number> Number numberIn(std::string_view text) {
    text = withoutBlanks(text);
    Number number{};
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    EXPECT_TRUE(read.ec == std::errc() && read.ptr == text.data() + text.size()) << text;
    return number;
}

/// The pairs of a notation: separated by bars or line ends, a code and a value each, one blank
/// between.
inline std::vector<TestPair> pairsOf(std::string_view notation) {
    std::vector<TestPair> pairs;
    while (!notation.empty()) {
        const std::size_t end = std::min(notation.find_first_of("|\n"), notation.size());
        std::string_view item = notation.substr(0, end);
        notation.remove_prefix(std::min(end + 1, notation.size()));
        while (item.starts_with(' ')) item.remove_prefix(1);
        if (item.empty()) continue;
        const std::size_t blank = std::min(item.find(' '), item.size());
        pairs.push_back({numberIn<int>(item.substr(0, blank)),
                         std::string(item.substr(std::min(blank + 1, item.size())))});
    }
    return pairs;
}

template <class Number> void appendNumber(std::string& out, Number number) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    out.append(bytes, sizeof number);
}

inline void appendPair(std::string& out, const TestPair& pair, const Look& look) {
    const char kind = kindOf(pair.code);
    if (look.form == Form::text) {
        std::string code = std::to_string(pair.code);
        std::string value = pair.value;
        const bool whole = kind == '2' || kind == '4';
        if (look.padded && code.size() < 3) code.insert(0, 3 - code.size(), ' ');
        const std::size_t width = kind == '4' ? 9 : 6;
        if (look.padded && whole && value.size() < width)
            value.insert(0, width - value.size(), ' ');
        out += code;
        out += look.lineEnd;
        out += value;
        out += look.lineEnd;
        return;
    }
    if (look.form == Form::binary) appendNumber(out, static_cast<std::int16_t>(pair.code));
    else if (pair.code < 255) out += static_cast<char>(pair.code);
    else {
        out += '\xff';
        appendNumber(out, static_cast<std::int16_t>(pair.code));
    }
    switch (kind) {
    case 'd': appendNumber(out, numberIn<double>(pair.value)); break;
    case '1': appendNumber(out, numberIn<std::int8_t>(pair.value)); break;
    case '2': appendNumber(out, numberIn<std::int16_t>(pair.value)); break;
    case '4': appendNumber(out, numberIn<std::int32_t>(pair.value)); break;
    case '8': appendNumber(out, numberIn<std::int64_t>(pair.value)); break;
    case 'x':
        out += static_cast<char>(pair.value.size() / 2);
        for (std::size_t i = 0; i + 1 < pair.value.size(); i += 2) {
            unsigned byte = 0;
            std::from_chars(pair.value.data() + i, pair.value.data() + i + 2, byte, 16);
            out += static_cast<char>(byte);
        }
        break;
    default: out += pair.value; out += '\0';
    }
}

inline constexpr std::string_view binaryMark("Velmora Binary DXF\r\n\x1a\0", 22);

inline std::string bytesOf(const std::vector<TestPair>& pairs, const Look& look = plain) {
    std::string out(look.form == Form::text ? std::string_view() : binaryMark);
    for (const TestPair& pair : pairs) appendPair(out, pair, look);
    return out;
}

/// The bytes of a notation.
inline std::string dxf(std::string_view notation, const Look& look = plain) {
    return bytesOf(pairsOf(notation), look);
}

/// The pairs of a file in the text form. Values of numbers are without the blanks around them.
inline std::vector<TestPair> pairsIn(std::string_view bytes) {
    std::vector<std::string_view> lines;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    EXPECT_EQ(lines.size() % 2, 0U) << "a code without a value";
    std::vector<TestPair> pairs;
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        const int code = numberIn<int>(lines[i]);
        const std::string_view value =
            kindOf(code) == 't' ? lines[i + 1] : withoutBlanks(lines[i + 1]);
        pairs.push_back({code, std::string(value)});
    }
    return pairs;
}

inline std::string notationOf(const std::vector<TestPair>& pairs) {
    std::string out;
    for (const TestPair& pair : pairs) {
        if (!out.empty()) out += '|';
        out += std::to_string(pair.code) + ' ' + pair.value;
    }
    return out;
}

// --- Records ----------------------------------------------------------------------------------

/// A record of a saved file, read by this header alone.
struct TestRecord {
    std::vector<TestPair> pairs;

    [[nodiscard]] std::string type() const { return pairs.front().value; }
    [[nodiscard]] std::vector<std::string> all(int code) const {
        std::vector<std::string> values;
        for (const TestPair& pair : pairs)
            if (pair.code == code) values.push_back(pair.value);
        return values;
    }
    /// The first value of a code; "-" when there is none.
    [[nodiscard]] std::string first(int code) const {
        const auto values = all(code);
        return values.empty() ? "-" : values.front();
    }
    [[nodiscard]] std::string notation() const { return notationOf(pairs); }
};

inline std::vector<TestRecord> recordsIn(std::string_view bytes) {
    std::vector<TestRecord> records;
    for (TestPair& pair : pairsIn(bytes)) {
        if (pair.code == 0) records.emplace_back();
        if (!records.empty()) records.back().pairs.push_back(std::move(pair));
    }
    return records;
}

inline std::vector<TestRecord> recordsIn(std::string_view bytes, std::string_view type) {
    std::vector<TestRecord> records = recordsIn(bytes);
    std::erase_if(records, [&](const TestRecord& record) { return record.type() != type; });
    return records;
}

/// The value pair behind the name of a header variable; "-" when there is none.
inline std::string headerValue(std::string_view bytes, std::string_view name) {
    const std::vector<TestPair> pairs = pairsIn(bytes);
    for (std::size_t i = 0; i + 1 < pairs.size(); ++i)
        if (pairs[i].code == 9 && pairs[i].value == name)
            return std::to_string(pairs[i + 1].code) + ' ' + pairs[i + 1].value;
    return "-";
}

/// All handles of the records of a file, as numbers; the same one twice when two records have it.
inline std::vector<std::uint64_t> handlesIn(std::string_view bytes) {
    std::vector<std::uint64_t> handles;
    for (const TestRecord& record : recordsIn(bytes)) {
        if (record.type() == "SECTION") continue;
        const std::string text = record.first(record.type() == "DIMSTYLE" ? 105 : 5);
        if (text == "-") continue;
        std::uint64_t handle = 0;
        std::from_chars(text.data(), text.data() + text.size(), handle, 16);
        handles.push_back(handle);
    }
    return handles;
}

/// `text` with the only place where `from` stands replaced.
inline std::string replaced(std::string text, std::string_view from, std::string_view to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "not there: " << from;
    if (at == std::string::npos) return text;
    EXPECT_EQ(text.find(from, at + 1), std::string::npos) << "there twice: " << from;
    return text.replace(at, from.size(), to);
}

// --- Whole files ------------------------------------------------------------------------------

/// A file of one section of entities.
inline std::string entitiesOnly(std::string_view entities) {
    std::string notation = "0 SECTION|2 ENTITIES|";
    notation += entities;
    return notation + "|0 ENDSEC|0 EOF";
}

/// A file with what files of its version have: in AC1009 and before without handles.
inline std::string drawingOf(std::string_view entities, std::string_view version = "AC1015") {
    const bool old = version < "AC1012";
    std::string out = "0 SECTION|2 HEADER|9 $ACADVER|1 " + std::string(version) +
                      "|9 $DWGCODEPAGE|3 ANSI_1252|9 $CLAYER|8 0|9 $LTSCALE|40 1.0";
    if (!old) out += "|9 $HANDSEED|5 A0";
    out += "|0 ENDSEC|0 SECTION|2 TABLES|0 TABLE|2 LTYPE";
    out += old ? "|70 1|0 LTYPE|2 DASHED|70 0|3 |72 65|73 0|40 0.0|0 ENDTAB|0 TABLE|2 LAYER|70 1"
               : "|5 5|330 0|100 AcDbSymbolTable|70 1|0 LTYPE|5 14|330 5|100 AcDbSymbolTableRecord"
                 "|100 AcDbLinetypeTableRecord|2 DASHED|70 0|3 |72 65|73 0|40 0.0|0 ENDTAB"
                 "|0 TABLE|2 LAYER|5 2|330 0|100 AcDbSymbolTable|70 1";
    out += old ? "|0 LAYER|2 0|70 0|62 7|6 CONTINUOUS|0 LAYER|2 WALLS|70 0|62 3|6 CONTINUOUS"
               : "|0 LAYER|5 10|330 2|100 AcDbSymbolTableRecord|100 AcDbLayerTableRecord|2 0|70 0"
                 "|62 7|6 CONTINUOUS|390 F"
                 "|0 LAYER|5 11|330 2|100 AcDbSymbolTableRecord|100 AcDbLayerTableRecord|2 WALLS"
                 "|70 0|62 3|6 CONTINUOUS|390 F";
    out += "|0 ENDTAB";
    if (!old)
        out += "|0 TABLE|2 APPID|5 3|330 0|100 AcDbSymbolTable|70 1"
               "|0 APPID|5 12|330 3|100 AcDbSymbolTableRecord|100 AcDbRegAppTableRecord|2 ACAD|70 0"
               "|0 ENDTAB|0 TABLE|2 BLOCK_RECORD|5 1|330 0|100 AcDbSymbolTable|70 1"
               "|0 BLOCK_RECORD|5 1F|330 1|100 AcDbSymbolTableRecord|100 AcDbBlockTableRecord"
               "|2 *Model_Space|340 0|0 ENDTAB";
    out += "|0 ENDSEC";
    if (!old)
        out += "|0 SECTION|2 BLOCKS|0 BLOCK|5 20|330 1F|100 AcDbEntity|8 0|100 AcDbBlockBegin"
               "|2 *Model_Space|70 0|10 0.0|20 0.0|30 0.0|3 *Model_Space|1 "
               "|0 ENDBLK|5 21|330 1F|100 AcDbEntity|8 0|100 AcDbBlockEnd|0 ENDSEC";
    out += "|0 SECTION|2 ENTITIES|";
    out += entities;
    return out + "|0 ENDSEC|0 EOF";
}

inline std::shared_ptr<const Document> documentOf(std::string bytes,
                                                  OnDamage onDamage = OnDamage::stop) {
    return Document::ofBytes(std::move(bytes), "test.dxf", onDamage);
}

inline std::u16string textOf(const VmDbString& text) { return {text.units(), text.length()}; }

inline std::string bytesWith(const Document& document, std::vector<Change> changes) {
    return ChangedBytes(document.bytes(), std::move(changes)).joined();
}

/// A drawing that was opened from bytes, and saved into others.
class Opened {
  public:
    explicit Opened(std::string bytes, OnDamage onDamage = OnDamage::stop)
        : document(documentOf(std::move(bytes), onDamage)) {
        document->fill(drawing);
    }

    /// What the file would be. It always opens without damage, with as many objects, and saves as
    /// it is.
    std::string saved() {
        notes.clear();
        std::string bytes = bytesWith(*document, document->changes(drawing, notes));
        try {
            const auto again = documentOf(bytes);
            Drawing other;
            again->fill(other);
            std::vector<std::string> unused;
            EXPECT_TRUE(again->changes(other, unused).empty()) << "the saved file changes again";
            EXPECT_LE(again->problems().size(), document->problems().size());
            int live = 0;
            for (int slot = 0; slot < drawing.slotCount(); ++slot)
                live += drawing.at(slot)->erased == 0 ? 1 : 0;
            EXPECT_EQ(other.slotCount(), live);
        } catch (const FileError& error) {
            ADD_FAILURE() << "the saved file does not open: " << error.what();
        }
        return bytes;
    }

    [[nodiscard]] bool isUnchanged() {
        notes.clear();
        return document->changes(drawing, notes).empty();
    }

    /// The message of the error that saving ends with; empty when it does not.
    [[nodiscard]] std::string refusal() {
        try {
            notes.clear();
            static_cast<void>(document->changes(drawing, notes));
        } catch (const FileError& error) {
            EXPECT_EQ(error.kind, FileError::Kind::unwritable);
            return error.what();
        }
        return {};
    }

    [[nodiscard]] HostLong idAt(int slot) const { return drawing.at(slot)->id; }

    /// Changes the object of a slot.
    template <class Class, class Action> void change(int slot, Action action) {
        VmDbObject* object = drawing.openSlot(slot, true);
        ASSERT_NE(object, nullptr);
        auto* typed = dynamic_cast<Class*>(object);
        ASSERT_NE(typed, nullptr);
        action(*typed);
        drawing.closed(*object);
    }

    /// Marks the object of a slot erased, or not. Other drawings may live beside this one.
    void erase(int slot, bool erased = true) {
        VmDbObject* object = drawing.openSlot(slot, true);
        object->erased = erased ? 1 : 0;
        drawing.closed(*object);
    }

    template <class Class> std::shared_ptr<const Class> at(int slot) const {
        return std::dynamic_pointer_cast<const Class>(drawing.at(slot));
    }

    /// Adds a copy of an object; its id.
    HostLong addCopyOf(int slot) { return drawing.add(clone(*drawing.at(slot))); }

    std::shared_ptr<const Document> document;
    Drawing drawing;
    std::vector<std::string> notes;
};

inline void setText(VmDbString& member, std::u16string_view text) {
    member.assign(text.data(), text.size());
}

/// The message of the error that opening ends with; empty when it does not.
inline std::string damageIn(const std::string& bytes) {
    try {
        static_cast<void>(documentOf(bytes));
    } catch (const FileError& error) {
        EXPECT_EQ(error.kind, FileError::Kind::damaged);
        return error.what();
    }
    return {};
}

}  // namespace vlisp::refhost::dxf::test
