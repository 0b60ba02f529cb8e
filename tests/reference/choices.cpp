// Decisions from a seed or from bytes. See choices.h.
#include "tests/reference/choices.h"

namespace vlisp::reference {

std::size_t Choices::below(std::size_t bound) noexcept {
    if (!fromBytes_) return next() % bound;
    std::size_t value = 0;
    for (std::size_t reach = 1; reach < bound && !bytes_.empty(); reach *= 256) {
        value = value * 256 + bytes_.front();
        bytes_ = bytes_.subspan(1);
    }
    return value % bound;
}

// A Weyl sequence, mixed: neighbouring seeds give programs that have nothing in common.
std::uint64_t Choices::next() noexcept {
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
    return mixed ^ (mixed >> 31);
}

}  // namespace vlisp::reference
