// Tests of refhost/dxf/text_codec.h.
#include "refhost/dxf/text_codec.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace vlisp::refhost::dxf {
namespace {

using namespace std::string_literals;

const TextCodec& western() {
    static const TextCodec codec("AC1015", "ANSI_1252");
    return codec;
}
const TextCodec& japanese() {
    static const TextCodec codec("AC1015", "ANSI_932");
    return codec;
}
const TextCodec& unicode() {
    static const TextCodec codec("AC1032", "ANSI_1252");
    return codec;
}

constexpr char16_t undecoded(int byte) { return static_cast<char16_t>(0xdc00 + byte); }

// --- Code pages -------------------------------------------------------------------------------

TEST(TextCodec, IsUtf8FromOneVersionOn) {
    for (const char* version : {"AC1021", "AC1024", "AC1027", "AC1032", "AC1099", "AC2000"}) {
        const TextCodec codec(version, "ANSI_1251");
        EXPECT_TRUE(codec.isUtf8()) << version;
        EXPECT_EQ(codec.decode("\xc3\xa9"), u"\u00e9") << version;
        EXPECT_EQ(codec.encode(u"\u00e9\u4e2d\U0001f600"), "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80");
    }
    for (const char* version : {"", "AC1002", "AC1009", "AC1018", "AC1020", "AC2.10", "AC1.50"}) {
        const TextCodec codec(version, "ANSI_1251");
        EXPECT_FALSE(codec.isUtf8()) << version;
        EXPECT_EQ(codec.decode("\xe9"), u"\u0439") << version;
    }
}

TEST(TextCodec, KnowsTheNamesOfCodePages) {
    struct Named {
        const char* name;
        std::string bytes;
        char16_t unit;
    };
    const Named pages[] = {
        {"ANSI_1250", "\xb9", u'\u0105'},
        {"ansi_1251", "\xc0", u'\u0410'},
        {"ANSI_1252", "\x80", u'\u20ac'},
        {"Ansi_1253", "\xc1", u'\u0391'},
        {"ANSI_1254", "\xdd", u'\u0130'},
        {"ANSI_1255", "\xe0", u'\u05d0'},
        {"ANSI_1256", "\xc7", u'\u0627'},
        {"ANSI_1257", "\xe0", u'\u0105'},
        {"ANSI_1258", "\xd0", u'\u0110'},
        {"ANSI_874", "\xa1", u'\u0e01'},
        {"ANSI_932", "\x93\xfa", u'\u65e5'},
        {"dos932", "\x93\xfa", u'\u65e5'},
        {"ANSI_936", "\xd6\xd0", u'\u4e2d'},
        {"GB2312", "\xd6\xd0", u'\u4e2d'},
        {"ANSI_949", "\xb0\xa1", u'\uac00'},
        {"ksc5601", "\xb0\xa1", u'\uac00'},
        {"ANSI_950", "\xa4\xa4", u'\u4e2d'},
        {"BIG5", "\xa4\xa4", u'\u4e2d'},
        {"ANSI_1361", "\x88\x61", u'\uac00'},
        {"johab", "\x88\x61", u'\uac00'},
        {"dos437", "\xe9", u'\u0398'},
        {"DOS850", "\xb5", u'\u00c1'},
        {"dos852", "\xa5", u'\u0105'},
        {"dos855", "\xa0", u'\u0430'},
        {"dos857", "\x98", u'\u0130'},
        {"dos860", "\x84", u'\u00e3'},
        {"dos861", "\x8d", u'\u00de'},
        {"dos862", "\x80", u'\u05d0'},
        {"dos863", "\x84", u'\u00c2'},
        {"dos864", "\xc7", u'\ufe8d'},
        {"dos865", "\x9b", u'\u00f8'},
        {"dos866", "\x80", u'\u0410'},
        {"dos869", "\xa4", u'\u0391'},
        {"iso8859-1", "\x80", u'\u0080'},
        {"ISO8859-2", "\xb1", u'\u0105'},
        {"iso8859-3", "\xa1", u'\u0126'},
        {"iso8859-4", "\xa2", u'\u0138'},
        {"iso8859-5", "\xb0", u'\u0410'},
        {"iso8859-6", "\xc7", u'\u0627'},
        {"iso8859-7", "\xc1", u'\u0391'},
        {"iso8859-8", "\xe0", u'\u05d0'},
        {"iso8859-9", "\xdd", u'\u0130'},
        {"mac-roman", "\x8e", u'\u00e9'},
        {"ascii", "\xe9", undecoded(0xe9)},
        {"us_ascii", "\xe9", undecoded(0xe9)},
        // Names that nobody knows.
        {"", "\x80", u'\u20ac'},
        {"ANSI_", "\x80", u'\u20ac'},
        {"ANSI_9999", "\x80", u'\u20ac'},
        {"klingon", "\x80", u'\u20ac'},
        {"iso8859-99", "\x80", u'\u20ac'},
        {"dos-", "\x80", u'\u20ac'},
        {"ANSI_99999999999999999999", "\x80", u'\u20ac'},
    };
    for (const Named& page : pages) {
        const TextCodec codec("AC1015", page.name);
        EXPECT_EQ(codec.decode(page.bytes), std::u16string(1, page.unit)) << page.name;
        EXPECT_EQ(codec.encode(std::u16string(1, page.unit)), page.bytes) << page.name;
    }
}

TEST(TextCodec, KeepsBytesThatItCannotDecode) {
    EXPECT_EQ(western().decode("a\x81z"), (std::u16string{u'a', undecoded(0x81), u'z'}));
    EXPECT_EQ(western().encode(std::u16string{undecoded(0x81)}), "\x81");
    const struct {
        std::string bytes;
        std::u16string text;
    } inUtf8[] = {
        {"\x80", {undecoded(0x80)}},
        {"\xc3", {undecoded(0xc3)}},
        {"\xc3(", {undecoded(0xc3), u'('}},
        {"\xc0\xaf", {undecoded(0xc0), undecoded(0xaf)}},  // too long for a slash
        {"\xe0\x80\xaf", {undecoded(0xe0), undecoded(0x80), undecoded(0xaf)}},  // and so is this
        {"\xed\xa0\xbd", {undecoded(0xed), undecoded(0xa0), undecoded(0xbd)}},  // a surrogate
        {"\xe4\xb8", {undecoded(0xe4), undecoded(0xb8)}},
        {"\xf4\x90\x80\x80", {undecoded(0xf4), undecoded(0x90), undecoded(0x80), undecoded(0x80)}},
        {"\xff\xc3\xa9", {undecoded(0xff), u'\u00e9'}},
    };
    for (const auto& each : inUtf8) {
        EXPECT_EQ(unicode().decode(each.bytes), each.text);
        EXPECT_EQ(unicode().encode(each.text), each.bytes);
    }
}

TEST(TextCodec, FindsEscapesInCharactersNotInBytes) {
    EXPECT_EQ(japanese().decode("\x95\x5cU+00E9"), u"\u8868U+00E9");  // second byte: a backslash
    EXPECT_EQ(japanese().decode("\x95\x5c\\U+00E9"), u"\u8868\u00e9");
    EXPECT_EQ(japanese().decode("\x8f\x5eJ"), u"\u620eJ");  // second byte: a caret
    EXPECT_EQ(japanese().encode(u"\u8868U+00E9"), "\x95\x5cU+00E9");
    EXPECT_EQ(japanese().encode(u"\u620eJ"), "\x8f\x5eJ");
}

// --- Escapes ----------------------------------------------------------------------------------

TEST(TextCodec, ReadsUnicodeEscapes) {
    for (const TextCodec* codec : {&western(), &japanese(), &unicode()}) {
        EXPECT_EQ(codec->decode("\\U+4e2D!"), u"\u4e2d!");
        EXPECT_EQ(codec->decode("\\U+D83D\\U+DE00"), u"\U0001f600");
        EXPECT_EQ(codec->decode("\\U+005CU+00E9"), u"\\U+00E9");
        EXPECT_EQ(codec->decode("\\\\U+00E9"), u"\\\u00e9");
        EXPECT_EQ(codec->decode("\\U+005EJ"), u"^J");
        EXPECT_EQ(codec->decode("\\U+D83D"), (std::u16string{char16_t{0xd83d}}));
        EXPECT_EQ(codec->decode("\\U+DE00"), (std::u16string{char16_t{0xde00}}));
        EXPECT_EQ(codec->decode("\\U+D83D\\U+DC81"), u"\U0001f481");
    }
}

TEST(TextCodec, ReadsCodePageEscapes) {
    for (const TextCodec* codec : {&western(), &japanese(), &unicode()}) {
        EXPECT_EQ(codec->decode("\\M+193FA"), u"\u65e5");
        EXPECT_EQ(codec->decode("\\M+2a4a4"), u"\u4e2d");
        EXPECT_EQ(codec->decode("\\M+3B0A1"), u"\uac00");
        EXPECT_EQ(codec->decode("\\M+48861"), u"\uac00");
        EXPECT_EQ(codec->decode("\\M+5D6D0x"), u"\u4e2dx");
    }
}

TEST(TextCodec, LeavesWhatOnlyResemblesAnEscape) {
    const char* const texts[] = {
        "\\",        "\\U",       "\\U+",      "\\U+12",    "\\U+12G4",  "\\U+-123",  "\\U+0x12",
        "\\U+ 123",  "\\u+0041",  "\\U+0000",  "\\U 0041",  "\\M+093FA", "\\M+693FA", "\\M+193F",
        "\\M+1FFFF", "\\M+10041", "\\M+18120", "\\m+193FA", "\\P\\pxi;", "c:\\temp",  "^",
        "^@",        "^a",        "^1",        "2^10",      "^\xe9"};
    for (const char* text : texts) {
        std::u16string same;
        for (const char c : std::string(text)) same += static_cast<unsigned char>(c);
        EXPECT_EQ(western().decode(text), same) << text;
        EXPECT_EQ(western().encode(same, text), text);
        EXPECT_EQ(western().encode(same), text == "^@"s ? "^ @" : text);
    }
}

TEST(TextCodec, ReadsCaretCodes) {
    EXPECT_EQ(western().decode("a^Ib^Jc^M^_^A"), u"a\tb\nc\r\x1f\x01");
    EXPECT_EQ(western().decode("a^ b"), u"a^b");
    EXPECT_EQ(western().decode("^ J"), u"^J");
    EXPECT_EQ(western().decode("^ "), u"^");
    EXPECT_EQ(western().decode("^^"), u"\x1e");
    EXPECT_EQ(western().decode("^\\U+0041"), u"\x1cU+0041");
    EXPECT_EQ(western().decode("^^@"), u"\x1e@");
}

TEST(TextCodec, ReadsAZeroAsItsCode) {
    EXPECT_EQ(western().decode("a\0b"s), u"a^@b");
    EXPECT_EQ(western().encode(u"a^@b", "a\0b"s), "a\0b"s);
    EXPECT_EQ(western().encode(u"a^@b"), "a^ @b");
}

TEST(TextCodec, LeavesEscapesOfBytesWhereTheByteWouldDo) {
    EXPECT_EQ(western().decode("\\U+DC81"), u"\\U+DC81");
    EXPECT_EQ(unicode().decode("\\U+DCE9"), u"\\U+DCE9");
    // There these bytes are, or begin, a character.
    EXPECT_EQ(western().decode("\\U+DCE9"), (std::u16string{undecoded(0xe9)}));
    EXPECT_EQ(unicode().decode("\\U+DCC3\xa9"), (std::u16string{undecoded(0xc3), undecoded(0xa9)}));
    EXPECT_EQ(japanese().decode("\\U+DC81A"), (std::u16string{undecoded(0x81), u'A'}));
}

// --- Writing ----------------------------------------------------------------------------------

TEST(TextCodec, WritesPlainTextAsItIs) {
    for (const TextCodec* codec : {&western(), &japanese(), &unicode()}) {
        EXPECT_EQ(codec->encode(u""), "");
        EXPECT_EQ(codec->encode(u"Standard ~!"), "Standard ~!");
        EXPECT_EQ(codec->decode("Standard ~!"), u"Standard ~!");
        EXPECT_EQ(codec->encode(u"\x7f"), "\x7f");
        EXPECT_EQ(codec->encode(u"C:\\plans\\U.dxf \\P^2"), "C:\\plans\\U.dxf \\P^2");
    }
}

TEST(TextCodec, EscapesWhatTheCodePageLacks) {
    EXPECT_EQ(western().encode(u"\u00e9\u4e2d\u03c0"), "\xe9\\U+4E2D\\U+03C0");
    EXPECT_EQ(western().encode(u"\U0001f600"), "\\U+D83D\\U+DE00");
    EXPECT_EQ(japanese().encode(u"\u65e5\u00e9"), "\x93\xfa\\U+00E9");
    EXPECT_EQ(unicode().encode(std::u16string{char16_t{0xd83d}, u'x'}), "\\U+D83Dx");
}

TEST(TextCodec, WritesControlCharactersAsCaretCodes) {
    EXPECT_EQ(western().encode(u"a\tb\nc\rd\x1f"), "a^Ib^Jc^Md^_");
    EXPECT_EQ(unicode().encode(u"\x01\x1c\x1e"), "^A^\\^^");
}

TEST(TextCodec, MarksACaretOnlyWhereItWouldBeACode) {
    EXPECT_EQ(western().encode(u"2^10"), "2^10");
    EXPECT_EQ(western().encode(u"x^"), "x^");
    EXPECT_EQ(western().encode(u"^\u00e9"), "^\xe9");
    EXPECT_EQ(western().encode(u"x^A"), "x^ A");
    EXPECT_EQ(western().encode(u"x^ y"), "x^  y");
    EXPECT_EQ(western().encode(u"^^"), "^ ^");
    EXPECT_EQ(western().encode(u"^@"), "^ @");
    EXPECT_EQ(western().encode(u"^\t"), "^ ^I");
    EXPECT_EQ(western().encode(u"^\u4e2d"), "^ \\U+4E2D");
}

TEST(TextCodec, MarksABackslashOnlyWhereItWouldBeginAnEscape) {
    EXPECT_EQ(western().encode(u"\\U+00E9"), "\\U+005CU+00E9");
    EXPECT_EQ(western().encode(u"\\M+193FA"), "\\U+005CM+193FA");
    EXPECT_EQ(western().encode(u"\\U+00EX \\M+10000"), "\\U+00EX \\M+10000");
    EXPECT_EQ(western().encode(u"\\\u4e2d"), "\\\\U+4E2D");
}

TEST(TextCodec, SpellsAsBefore) {
    EXPECT_EQ(western().encode(u"caf\u00e9", "\\U+00e9"), "caf\\U+00e9");
    EXPECT_EQ(western().encode(u"\u65e5\u65e5 \u672c", "x\\M+193fay"),
              "\\M+193fa\\M+193fa \\U+672C");
    EXPECT_EQ(western().encode(u"Abba", "\\U+0041"), "\\U+0041bba");
    EXPECT_EQ(unicode().encode(u"\U0001f600!", "? \\U+d83d\\U+de00 ?"), "\\U+d83d\\U+de00!");
    EXPECT_EQ(western().encode(u"new", "\\U+00e9"), "new");
    // One character in two spellings: each keeps its own at the front and the end.
    EXPECT_EQ(western().encode(u"\u00e9 - \u00e9", "\\U+00E9 \xe9"), "\\U+00E9 - \xe9");
    // A second place of the code page for one character.
    EXPECT_EQ(japanese().encode(u"1\u221a2", "\x87\x95"), "1\x87\x95"
                                                          "2");
    // A caret and a backslash are marked where it matters, not where they once were.
    EXPECT_EQ(western().encode(u"1^2\\P", "^ \\U+005C"), "1^2\\P");
}

TEST(TextCodec, TakesAFormerSpellingOnlyWhereItIsStillRead) {
    EXPECT_EQ(western().encode(u"x^A", "x^"), "x^ A");
    EXPECT_EQ(western().encode(u"^ Z", "^1Z"), "^  Z");
    EXPECT_EQ(western().encode(u"\\U+00E9", "\\U+00E"), "\\U+005CU+00E9");
    EXPECT_EQ(western().encode(u"a\nb", "a\nb"), "a^Jb");
    EXPECT_EQ(western().encode(u"a\r", "a\r"), "a^M");
    EXPECT_EQ(western().encode(u"a\tc", "a\tb"), "a\tc");
}

// --- Laws -------------------------------------------------------------------------------------

std::vector<TextCodec> allKinds() {
    std::vector<TextCodec> codecs;
    for (const char* page : {"ANSI_1252", "ANSI_1258", "ANSI_874", "ANSI_932", "ANSI_936",
                             "ANSI_949", "ANSI_950", "johab", "dos437", "dos864", "ascii"})
        codecs.emplace_back("AC1015", page);
    codecs.emplace_back("AC1032", "");
    return codecs;
}

using Random = std::mt19937;

template <typename Choices> auto oneOf(Random& random, const Choices& choices) {
    return choices[random() % std::size(choices)];
}

// Random bytes, most of them such as codes are made of.
std::string randomBytes(Random& random) {
    static const std::string parts[] = {
        "\\",       "U",        "+",        "\\U+",     "\\M+",     "\\U+D83D",
        "\\U+DE00", "\\U+DC81", "\\U+dcc3", "\\U+00e9", "\\U+005C", "\\M+193FA",
        "^",        "^ ",       " ",        "@",        "J",        "A",
        "0",        "1",        "9",        "d",        "C",        "\x81",
        "\x95\x5c", "\x5c",     "\x5e",     "\xc3",     "\xa9",     "\xe4\xb8\xad",
        "\xf0",     "\x9f",     "\x98",     "\x80"};
    std::string bytes;
    const std::size_t count = random() % 12;
    for (std::size_t i = 0; i < count; ++i) {
        if (random() % 3 == 0) bytes += static_cast<char>(random() % 256);
        else bytes += oneOf(random, parts);
    }
    return bytes;
}

// A random text without zero, with all that needs care, lone surrogates included.
std::u16string randomText(Random& random) {
    static const std::u16string parts[] = {u"\\",
                                           u"U",
                                           u"+",
                                           u"\\U+",
                                           u"\\M+1",
                                           u"\\U+D83D",
                                           u"\\U+DC81",
                                           u"\\U+DE00",
                                           u"^",
                                           u" ",
                                           u"@",
                                           u"A",
                                           u"J",
                                           u"\\U+00e9",
                                           u"5C",
                                           u"93FA",
                                           u"\u00e9",
                                           u"\u65e5",
                                           u"\u8868",
                                           u"\U0001f600",
                                           u"\u221a",
                                           {char16_t{0xd83d}},
                                           {char16_t{0xde00}},
                                           {char16_t{0xdc81}},
                                           {char16_t{0xdcc3}},
                                           {char16_t{0xdca9}},
                                           {char16_t{0xdcf0}},
                                           {char16_t{0xdc9f}},
                                           {char16_t{0xdc80}}};
    std::u16string text;
    const std::size_t count = random() % 12;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t kind = random() % 6;
        if (kind == 0) text += static_cast<char16_t>(1 + random() % 0xffff);
        else if (kind == 1) text += static_cast<char16_t>(0xdc80 + random() % 0x80);
        else if (kind == 2) text += static_cast<char16_t>(1 + random() % 0x7f);
        else text += oneOf(random, parts);
    }
    return text;
}

bool hasLineEnd(std::string_view bytes) { return bytes.find_first_of("\r\n") != bytes.npos; }

std::string inHex(std::string_view bytes) {
    std::string hex;
    for (const char c : bytes) {
        constexpr std::string_view digits = "0123456789abcdef";
        hex += digits[static_cast<unsigned char>(c) / 16U];
        hex += digits[static_cast<unsigned char>(c) % 16U];
    }
    return hex;
}

TEST(TextCodecLaw, EveryTextComesBack) {
    const std::vector<TextCodec> codecs = allKinds();
    Random random(7);
    for (int round = 0; round < 200'000; ++round) {
        const TextCodec& codec = codecs[static_cast<std::size_t>(round) % codecs.size()];
        const std::u16string text = randomText(random);
        const std::string bytes = codec.encode(text);
        ASSERT_EQ(codec.decode(bytes), text) << round << ' ' << bytes;
        ASSERT_FALSE(hasLineEnd(bytes)) << round;
    }
}

TEST(TextCodecLaw, EveryTextComesBackWhateverStoodBefore) {
    const std::vector<TextCodec> codecs = allKinds();
    Random random(8);
    for (int round = 0; round < 200'000; ++round) {
        const TextCodec& codec = codecs[static_cast<std::size_t>(round) % codecs.size()];
        const std::string before = randomBytes(random);
        // Often what stood there, changed in the middle.
        std::u16string text = randomText(random);
        if (round % 3 != 0) {
            const std::u16string old = codec.decode(before);
            const std::size_t from = random() % (old.size() + 1);
            text = old.substr(0, from) + (round % 3 == 1 ? text : u"") +
                   old.substr(from + random() % (old.size() - from + 1));
        }
        const std::string bytes = codec.encode(text, before);
        ASSERT_EQ(codec.decode(bytes), text)
            << round << ' ' << inHex(before) << ' ' << inHex(bytes);
        ASSERT_FALSE(hasLineEnd(bytes)) << round;
    }
}

TEST(TextCodecLaw, WhatStoodThereIsWrittenAgain) {
    const std::vector<TextCodec> codecs = allKinds();
    Random random(9);
    for (int round = 0; round < 200'000; ++round) {
        const TextCodec& codec = codecs[static_cast<std::size_t>(round) % codecs.size()];
        std::string bytes = randomBytes(random);
        std::erase_if(bytes, [](char c) { return c == '\r' || c == '\n'; });
        const std::u16string text = codec.decode(bytes);
        ASSERT_EQ(text.find(u'\0'), text.npos) << round;
        ASSERT_EQ(codec.encode(text, bytes), bytes) << round << ' ' << inHex(bytes);
    }
}

// In these each character has one place.
TEST(TextCodecLaw, BytesWithoutEscapesComeBackByThemselves) {
    Random random(10);
    for (const char* page :
         {"ANSI_1252", "ANSI_1258", "ANSI_936", "ANSI_949", "johab", "ascii", ""}) {
        const TextCodec codec(*page == '\0' ? "AC1032" : "AC1015", page);
        for (int round = 0; round < 20'000; ++round) {
            std::string bytes = randomBytes(random);
            std::erase_if(bytes,
                          [](char c) { return c == '\\' || c == '^' || (c >= 0 && c < ' '); });
            ASSERT_EQ(codec.encode(codec.decode(bytes)), bytes) << page << ' ' << inHex(bytes);
        }
    }
}

TEST(TextCodecLaw, EveryUnitComesBackInEveryCodePage) {
    for (const TextCodec& codec : allKinds()) {
        for (unsigned unit = 1; unit < 0x10000; ++unit) {
            const std::u16string text(1, static_cast<char16_t>(unit));
            ASSERT_EQ(codec.decode(codec.encode(text)), text) << unit;
        }
    }
}

}  // namespace
}  // namespace vlisp::refhost::dxf
