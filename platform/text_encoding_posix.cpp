// Code pages through iconv. See text_encoding.h.
#include "platform/text_encoding.h"

#include <cerrno>
#include <iconv.h>
#include <iterator>
#include <memory>
#include <mutex>

namespace vlisp::platform {
namespace {

struct NamedPage {
    int number;
    /// Names to ask iconv for, the best first.
    std::array<const char*, 2> names;
};

constexpr NamedPage namedPages[] = {
    {437, {"CP437"}},           {737, {"CP737"}},
    {775, {"CP775"}},           {850, {"CP850"}},
    {852, {"CP852"}},           {855, {"CP855"}},
    {857, {"CP857"}},           {858, {"CP858"}},
    {860, {"CP860"}},           {861, {"CP861"}},
    {862, {"CP862"}},           {863, {"CP863"}},
    {864, {"CP864"}},           {865, {"CP865"}},
    {866, {"CP866"}},           {869, {"CP869"}},
    {874, {"CP1162", "CP874"}},  // the first has the quotes and the euro of Windows
    {932, {"CP932"}},           {936, {"CP936"}},
    {949, {"CP949"}},           {950, {"CP950"}},
    {1250, {"CP1250"}},         {1251, {"CP1251"}},
    {1252, {"CP1252"}},         {1253, {"CP1253"}},
    {1254, {"CP1254"}},         {1255, {"CP1255"}},
    {1256, {"CP1256"}},         {1257, {"CP1257"}},
    {1258, {"CP1258"}},         {1361, {"CP1361", "JOHAB"}},
    {10000, {"MACINTOSH"}},     {20127, {"US-ASCII"}},
    {28591, {"ISO-8859-1"}},    {28592, {"ISO-8859-2"}},
    {28593, {"ISO-8859-3"}},    {28594, {"ISO-8859-4"}},
    {28595, {"ISO-8859-5"}},    {28596, {"ISO-8859-6"}},
    {28597, {"ISO-8859-7"}},    {28598, {"ISO-8859-8"}},
    {28599, {"ISO-8859-9"}},    {28603, {"ISO-8859-13"}},
    {28605, {"ISO-8859-15"}},
};

/// A conversion of the system, one character at a time.
class Conversion {
  public:
    Conversion(const char* to, const char* from) : handle_(::iconv_open(to, from)) {}
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;
    ~Conversion() {
        if (isOpen()) ::iconv_close(handle_);
    }

    [[nodiscard]] bool isOpen() const noexcept { return handle_ != none(); }

    struct Result {
        std::array<char, 16> bytes{};
        std::size_t length = 0;  // 0: refused
        bool incomplete = false;
    };
    [[nodiscard]] Result convert(std::string_view input) const {
        Result result;
        std::array<char, 4> copy{};
        input.copy(copy.data(), copy.size());
        char* in = copy.data();
        char* out = result.bytes.data();
        std::size_t inLeft = input.size();
        std::size_t outLeft = result.bytes.size();
        ::iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        // The second call fetches a letter that is held back because an accent might follow.
        if (::iconv(handle_, &in, &inLeft, &out, &outLeft) == failed ||
            ::iconv(handle_, nullptr, nullptr, &out, &outLeft) == failed)
            result.incomplete = errno == EINVAL;
        else result.length = result.bytes.size() - outLeft;
        return result;
    }

  private:
    static constexpr auto failed = static_cast<std::size_t>(-1);
    // The C library's own value for "no descriptor" is a number in a pointer.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    static iconv_t none() noexcept { return reinterpret_cast<iconv_t>(std::intptr_t{-1}); }

    iconv_t handle_;
};

constexpr char utf16[] = "UTF-16LE";

constexpr bool isSurrogate(char16_t unit) { return unit >= 0xd800 && unit < 0xe000; }

// The unit that a conversion gave, or 0. No byte above ASCII may stand for ASCII: what is a
// backslash or a digit must be seen in the bytes.
char16_t unitOf(const Conversion::Result& result) {
    if (result.length != 2) return 0;
    const auto low = static_cast<std::uint8_t>(result.bytes[0]);
    const auto high = static_cast<std::uint8_t>(result.bytes[1]);
    const auto unit = static_cast<char16_t>(low | high << 8);
    return unit < 0x80 || isSurrogate(unit) ? char16_t{0} : unit;
}

constexpr char16_t undecoded(std::size_t byte) { return static_cast<char16_t>(0xdc00 + byte); }

}  // namespace

CodePage::CodePage(const char* systemName) : reverse_(0x10000) {
    for (std::size_t byte = 0; byte < singles_.size(); ++byte)
        singles_[byte] = byte < firstHigh ? static_cast<char16_t>(byte) : undecoded(byte);
    if (systemName != nullptr) readTables(systemName);
    fillReverse(systemName);
}

void CodePage::readTables(const char* systemName) {
    const Conversion decoder(utf16, systemName);
    if (!decoder.isOpen()) return;
    for (std::size_t first = firstHigh; first < singles_.size(); ++first) {
        std::array<char, 2> bytes{static_cast<char>(first)};
        const Conversion::Result single = decoder.convert({bytes.data(), 1});
        if (const char16_t unit = unitOf(single); unit != 0) singles_[first] = unit;
        if (!single.incomplete) continue;
        pairs_.resize(firstHigh * 256);
        for (int second = 1; second < 256; ++second) {
            bytes[1] = static_cast<char>(second);
            pairs_[pairIndex(static_cast<std::uint8_t>(first), bytes[1])] =
                unitOf(decoder.convert({bytes.data(), 2}));
        }
    }
}

// Where several bytes stand for one character, the system's choice is written.
void CodePage::fillReverse(const char* systemName) {
    const Conversion encoder(systemName != nullptr ? systemName : "US-ASCII", utf16);
    const auto add = [&](char16_t unit, std::size_t first, std::size_t second) {
        const auto bytes = static_cast<std::uint16_t>(first | second << 8);
        std::uint16_t& entry = reverse_[unit];
        if (entry != 0 && encoder.isOpen()) {
            const std::array<char, 2> wanted{static_cast<char>(unit & 0xff),
                                             static_cast<char>(unit >> 8)};
            const auto chosen = encoder.convert({wanted.data(), 2});
            const auto low = static_cast<std::uint8_t>(chosen.bytes[0]);
            const auto high = static_cast<std::uint8_t>(chosen.bytes[1]);
            if ((low | high << 8) != bytes) return;
        }
        entry = bytes;
    };
    for (std::size_t first = 1; first < singles_.size(); ++first) add(singles_[first], first, 0);
    for (std::size_t i = 0; i < pairs_.size(); ++i)
        if (pairs_[i] != 0) add(pairs_[i], firstHigh + i / 256, i % 256);
}

CodePage::Encoded CodePage::encode(char16_t unit) const noexcept {
    if (unit == 0) return {{}, 1};
    const std::uint16_t bytes = reverse_[unit];
    const auto length = static_cast<std::uint8_t>(bytes == 0 ? 0 : bytes < 0x100 ? 1 : 2);
    return {{static_cast<char>(bytes & 0xff), static_cast<char>(bytes >> 8)}, length};
}

const CodePage* CodePage::find(int number) {
    struct Slot {
        std::once_flag once;
        std::unique_ptr<const CodePage> page;
    };
    static std::array<Slot, std::size(namedPages)> slots;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const NamedPage& named = namedPages[i];
        if (named.number != number) continue;
        std::call_once(slots[i].once, [&] {
            const char* known = nullptr;
            for (const char* name : named.names)
                if (known == nullptr && name != nullptr && Conversion(utf16, name).isOpen())
                    known = name;
            slots[i].page.reset(new CodePage(known));
        });
        return slots[i].page.get();
    }
    return nullptr;
}

}  // namespace vlisp::platform
