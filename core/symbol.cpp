// The table of living names. See symbol.h.
#include "core/symbol.h"

#include <cstring>
#include <unordered_set>

namespace vlisp {
namespace {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::u16string_view text) const noexcept {
        return std::hash<std::u16string_view>()(text);
    }
    std::size_t operator()(const SymbolData* symbol) const noexcept { return symbol->hash; }
};

struct TextEqual {
    using is_transparent = void;
    bool operator()(const SymbolData* a, const SymbolData* b) const noexcept { return a == b; }
    bool operator()(const SymbolData* a, std::u16string_view b) const noexcept {
        return a->text() == b;
    }
    bool operator()(std::u16string_view a, const SymbolData* b) const noexcept {
        return a == b->text();
    }
};

using SymbolTable = std::unordered_set<SymbolData*, TextHash, TextEqual>;

// Made by the first constant that interns a name, and so gone after the last one that lets go of its
// own at exit.
SymbolTable& table() {
    static SymbolTable symbols;
    return symbols;
}

constexpr std::size_t bytesFor(std::size_t length) noexcept {
    return sizeof(SymbolData) + length * sizeof(char16_t);
}

}  // namespace

SymbolRef intern(std::u16string_view text) {
    if (text.empty()) return {};
    SymbolTable& symbols = table();
    if (const auto found = symbols.find(text); found != symbols.end()) return SymbolRef(*found);
    if (text.size() > heap::maximumLength) throw heap::OutOfMemory();
    auto* symbol = new (heap::allocate(bytesFor(text.size())))
        SymbolData(TextHash()(text), static_cast<std::uint32_t>(text.size()));
    std::memcpy(symbol->characters(), text.data(), text.size() * sizeof(char16_t));
    try {
        symbols.insert(symbol);
    } catch (...) {
        heap::release(symbol, bytesFor(text.size()));
        throw;
    }
    return SymbolRef(symbol);
}

std::size_t internedCount() noexcept { return table().size(); }

void forgetSymbol(SymbolData* symbol) noexcept {
    table().erase(symbol);
    const std::size_t bytes = bytesFor(symbol->length);
    symbol->~SymbolData();
    heap::release(symbol, bytes);
}

}  // namespace vlisp
