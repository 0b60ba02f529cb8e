// The prelude as a string resource of the Windows module. See prelude.h.
#include "resources/prelude.h"

#include <windows.h>

extern "C" IMAGE_DOS_HEADER __ImageBase;  // NOLINT: the linker's name for the image that this is in

namespace vlisp {

std::u16string_view preludeText() noexcept {
    constexpr UINT preludeId = 5000;
    // Without a buffer the system gives the place of the text, which has no terminating zero.
    const char16_t* text = nullptr;
    const int length = LoadStringW(reinterpret_cast<HINSTANCE>(&__ImageBase), preludeId,
                                   reinterpret_cast<wchar_t*>(&text), 0);
    return {text, static_cast<std::size_t>(length)};
}

}  // namespace vlisp
