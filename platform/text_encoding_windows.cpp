// Code pages through the system's own tables. See system_code_page.h.
#include "platform/system_code_page.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vlisp::platform {
namespace {

constexpr char16_t euroSign = 0x20ac;

// The tables of Windows turn a byte without a character into a control character or one of private
// use; to a file it is no character.
bool isStopgap(UINT page, wchar_t unit) noexcept {
    const bool isIso = page >= 28591 && page <= 28605;
    return (!isIso && unit >= 0x80 && unit < 0xa0) || (unit >= 0xf8c0 && unit < 0xf900);
}

}  // namespace

struct SystemCodePage::State {
    UINT page;
    /// The page is another one with the euro at this byte; 0: it is not.
    BYTE euro;
};

SystemCodePage::SystemCodePage(int number) {
    // Not every system lists 858.
    const bool hasEuro = number == 858;
    const State state{hasEuro ? 850U : static_cast<UINT>(number),
                      static_cast<BYTE>(hasEuro ? 0xd5 : 0)};
    if (::IsValidCodePage(state.page) != 0) state_ = std::make_unique<State>(state);
}

SystemCodePage::~SystemCodePage() = default;

bool SystemCodePage::isKnown() const noexcept { return state_ != nullptr; }

SystemCodePage::Decoded SystemCodePage::decode(std::string_view bytes) const {
    const auto first = static_cast<BYTE>(bytes.front());
    const bool isLead = ::IsDBCSLeadByteEx(state_->page, first) != 0;
    if (isLead != (bytes.size() == 2)) return {0, isLead};
    if (state_->euro != 0 && first == state_->euro) return {euroSign, false};
    wchar_t units[2] = {};
    const int count =
        ::MultiByteToWideChar(state_->page, MB_ERR_INVALID_CHARS, bytes.data(),
                              static_cast<int>(bytes.size()), units, std::size(units));
    if (count != 1 || isStopgap(state_->page, units[0])) return {};
    return {static_cast<char16_t>(units[0]), false};
}

std::uint16_t SystemCodePage::encode(char16_t unit) const {
    if (state_->euro != 0 && unit == euroSign) return state_->euro;
    const auto wanted = static_cast<wchar_t>(unit);
    char bytes[4] = {};
    BOOL isLacking = FALSE;
    const int count = ::WideCharToMultiByte(state_->page, WC_NO_BEST_FIT_CHARS, &wanted, 1, bytes,
                                            std::size(bytes), nullptr, &isLacking);
    if (count < 1 || count > 2 || isLacking != FALSE) return 0;
    const auto low = static_cast<std::uint8_t>(bytes[0]);
    const auto high = static_cast<std::uint8_t>(bytes[1]);
    if (state_->euro != 0 && low == state_->euro) return 0;
    return static_cast<std::uint16_t>(low | high << 8);
}

}  // namespace vlisp::platform
