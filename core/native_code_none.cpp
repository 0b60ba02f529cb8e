// No native code for this kind of processor. See native_code.h.
#include "core/native_code.h"

namespace vlisp {

std::unique_ptr<NativeCode> NativeCode::compile(const Code&, const Cell*) noexcept {
    return nullptr;
}
NativeCode::~NativeCode() = default;
bool NativeCode::prepare() noexcept { return false; }
const Instruction* NativeCode::run(Machine&, const std::byte*) noexcept { return nullptr; }
std::size_t NativeCode::living_ = 0;
void native::setThreshold(std::uint32_t times) noexcept { timesUntilCompiled = times; }

}  // namespace vlisp
