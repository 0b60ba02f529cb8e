// The table of living names. See symbol.h.
#include "core/symbol.h"

#include <cstring>
#include <vector>

namespace vlisp {
namespace {

// Four units at a time: names are short, and most of what is read is names.
constexpr std::size_t unitsAtOnce = sizeof(std::uint64_t) / sizeof(char16_t);

std::uint64_t wordAt(const char16_t* units) noexcept {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    return word;
}

// Where the last word of a text of at least one begins: before the one in front of it ends, where
// words do not come out even.
const char16_t* lastWord(std::u16string_view text) noexcept {
    return text.data() + text.size() - unitsAtOnce;
}

std::size_t hashOf(std::u16string_view text) noexcept {
    constexpr std::uint64_t factor = 0x9e37'79b9'7f4a'7c15;
    std::uint64_t hash = text.size();
    const auto mix = [&hash](std::uint64_t word) {
        hash = (hash ^ word) * factor;
        hash ^= hash >> 32;
    };
    if (text.size() < unitsAtOnce) {
        std::uint64_t all = 0;
        for (const char16_t unit : text) all = all << 16 | unit;
        mix(all);
        return hash;
    }
    const char16_t* last = lastWord(text);
    for (const char16_t* at = text.data(); at < last; at += unitsAtOnce) mix(wordAt(at));
    mix(wordAt(last));
    return hash;
}

bool isSame(std::u16string_view a, std::u16string_view b) noexcept {
    if (a.size() != b.size()) return false;
    if (a.size() < unitsAtOnce) return a == b;
    const char16_t* last = lastWord(a);
    const char16_t* other = b.data();
    for (const char16_t* at = a.data(); at < last; at += unitsAtOnce, other += unitsAtOnce)
        if (wordAt(at) != wordAt(other)) return false;
    return wordAt(last) == wordAt(lastWord(b));
}

// Open addressing: a name stands at the first free slot from the one that its hash tells, and
// whoever leaves moves the others up, so that no search passes a gap.
class SymbolTable {
  public:
    [[nodiscard]] std::size_t size() const noexcept { return count_; }

    [[nodiscard]] SymbolData* find(std::u16string_view text, std::size_t hash) const noexcept {
        for (std::size_t at = hash & mask(); slots_[at].symbol != nullptr; at = after(at))
            if (slots_[at].hash == hash && isSame(slots_[at].symbol->text(), text))
                return slots_[at].symbol;
        return nullptr;
    }

    /// `symbol`, whose text is not in the table.
    void insert(SymbolData* symbol) {
        if ((count_ + 1) * 2 > slots_.size()) grow();
        put({symbol, symbol->hash});
        ++count_;
    }

    void erase(const SymbolData* symbol) noexcept {
        std::size_t gap = symbol->hash & mask();
        while (slots_[gap].symbol != symbol) gap = after(gap);
        for (std::size_t at = after(gap); slots_[at].symbol != nullptr; at = after(at)) {
            // One that stands nearer to its own place than the gap is would be lost there.
            const std::size_t fromHome = (at - slots_[at].hash) & mask();
            const std::size_t fromGap = (at - gap) & mask();
            if (fromHome < fromGap) continue;
            slots_[gap] = slots_[at];
            gap = at;
        }
        slots_[gap] = {};
        --count_;
    }

  private:
    struct Slot {
        SymbolData* symbol = nullptr;
        std::size_t hash = 0;
    };

    // The number of slots is a power of two, and at most half of them are taken.
    static constexpr std::size_t fewestSlots = 512;
    [[nodiscard]] std::size_t mask() const noexcept { return slots_.size() - 1; }
    [[nodiscard]] std::size_t after(std::size_t at) const noexcept { return (at + 1) & mask(); }

    void put(Slot slot) noexcept {
        std::size_t at = slot.hash & mask();
        while (slots_[at].symbol != nullptr) at = after(at);
        slots_[at] = slot;
    }

    void grow() {
        std::vector<Slot> former(slots_.size() * 2);
        former.swap(slots_);
        for (const Slot& slot : former)
            if (slot.symbol != nullptr) put(slot);
    }

    std::vector<Slot> slots_ = std::vector<Slot>(fewestSlots);
    std::size_t count_ = 0;
};

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
    const std::size_t hash = hashOf(text);
    if (SymbolData* found = symbols.find(text, hash); found != nullptr) return SymbolRef(found);
    if (text.size() > heap::maximumLength) throw heap::OutOfMemory();
    auto* symbol = new (heap::allocate(bytesFor(text.size())))
        SymbolData(hash, static_cast<std::uint32_t>(text.size()));
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
