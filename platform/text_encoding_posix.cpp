// Code pages through iconv. See system_code_page.h.
#include "platform/system_code_page.h"

#include <cerrno>
#include <iconv.h>

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

// The best name that this system knows for a page, or null.
const char* nameOf(int number) {
    for (const NamedPage& named : namedPages) {
        if (named.number != number) continue;
        for (const char* name : named.names)
            if (name != nullptr && Conversion(utf16, name).isOpen()) return name;
    }
    return nullptr;
}

}  // namespace

struct SystemCodePage::State {
    explicit State(const char* name) : decoder(utf16, name), encoder(name, utf16) {}

    Conversion decoder;
    Conversion encoder;
};

SystemCodePage::SystemCodePage(int number) {
    if (const char* name = nameOf(number); name != nullptr) state_ = std::make_unique<State>(name);
}

SystemCodePage::~SystemCodePage() = default;

bool SystemCodePage::isKnown() const noexcept { return state_ != nullptr; }

SystemCodePage::Decoded SystemCodePage::decode(std::string_view bytes) const {
    const Conversion::Result result = state_->decoder.convert(bytes);
    if (result.length != 2) return {0, result.incomplete};
    const auto low = static_cast<std::uint8_t>(result.bytes[0]);
    const auto high = static_cast<std::uint8_t>(result.bytes[1]);
    return {static_cast<char16_t>(low | high << 8), false};
}

std::uint16_t SystemCodePage::encode(char16_t unit) const {
    const std::array<char, 2> wanted{static_cast<char>(unit & 0xff), static_cast<char>(unit >> 8)};
    const Conversion::Result result = state_->encoder.convert({wanted.data(), 2});
    const auto low = static_cast<std::uint8_t>(result.bytes[0]);
    const auto high = static_cast<std::uint8_t>(result.bytes[1]);
    return static_cast<std::uint16_t>(low | high << 8);
}

}  // namespace vlisp::platform
