// Notes about the lists searched last. See list_index.h.
#include "core/list_index.h"

#include <array>
#include <bit>
#include <limits>
#include <vector>

namespace vlisp {
namespace {

// Shorter lists are searched faster than anything is looked up.
constexpr std::size_t shortest = 32;
// A note is made when so many times the list's length has been looked at.
constexpr std::size_t patience = 8;

constexpr std::uint32_t nowhere = std::numeric_limits<std::uint32_t>::max();

struct Place {
    std::int32_t key;
    std::uint32_t at = nowhere;
};

// Where the keys of one list stand. An open table: a key is at its hash or behind.
struct Note {
    const Buffer<Cell>* buffer = nullptr;
    std::uint32_t begin = 0;
    std::size_t length = 0;
    std::size_t looked = 0;  // elements looked at so far, one by one
    std::vector<Place> places;

    [[nodiscard]] bool isOf(const Buffer<Cell>* other, const CellSlice& list) const noexcept {
        return buffer == other && begin == list.begin() && length == list.size();
    }
    [[nodiscard]] std::size_t slotOf(std::int32_t key) const noexcept {
        constexpr std::uint32_t golden = 0x9e3779b1;  // 2^32 divided by the golden ratio
        const std::size_t mask = places.size() - 1;
        // The upper bits: the lower ones of multiples of a power of two are all the same.
        std::size_t slot = (static_cast<std::uint32_t>(key) * golden) >>
                           std::countl_zero(static_cast<std::uint32_t>(mask));
        for (; places[slot].at != nowhere && places[slot].key != key;) slot = (slot + 1) & mask;
        return slot;
    }
    void clear() noexcept {
        heap::discharge(places.size() * sizeof(Place));
        *this = {};
    }
};

std::array<Note, 4> notes;
std::size_t oldest = 0;

// Behind the notes, so that it goes before them: lists may outlive both.
bool areGone = false;
const struct Ending {
    Ending() = default;
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() { areGone = true; }
} ending;

std::size_t search(Items items, std::int32_t key) noexcept {
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Items entry = items[i].items();
        if (!entry.empty() && entry[0].intValue() == key) return i;
    }
    return items.size();
}

void makeIndex(Note& note, Items items) {
    const std::size_t slots = std::bit_ceil(items.size() * 2);
    heap::charge(slots * sizeof(Place));
    try {
        note.places.resize(slots);
    } catch (...) {
        heap::discharge(slots * sizeof(Place));
        throw;
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Items entry = items[i].items();
        if (entry.empty()) continue;
        const std::int32_t key = entry[0].intValue();
        Place& place = note.places[note.slotOf(key)];
        if (place.at == nowhere) place = {key, static_cast<std::uint32_t>(i)};
    }
}

// It goes without, too.
void tryToIndex(Note& note, Items items) {
    try {
        makeIndex(note, items);
    } catch (const std::bad_alloc&) {
        note.looked = 0;
    }
}

}  // namespace

std::size_t findByInteger(const Cell& list, std::int32_t key) {
    const Items items = list.items();
    if (items.size() < shortest || areGone) return search(items, key);
    const CellSlice slice = list.itemSlice();
    Note* known = nullptr;
    for (Note& note : notes)
        if (note.isOf(slice.buffer(), slice)) known = &note;
    if (known == nullptr) {
        known = &notes[oldest];
        oldest = (oldest + 1) % notes.size();
        known->clear();
        slice.buffer()->watched = true;
        known->buffer = slice.buffer();
        known->begin = slice.begin();
        known->length = slice.size();
    }
    if (known->places.empty()) {
        const std::size_t found = search(items, key);
        known->looked += found;
        if (known->looked > patience * items.size()) tryToIndex(*known, items);
        return found;
    }
    const Place& place = known->places[known->slotOf(key)];
    return place.at == nowhere ? items.size() : place.at;
}

void forgetIndex(const Buffer<Cell>& buffer) noexcept {
    if (areGone) return;
    for (Note& note : notes)
        if (note.buffer == &buffer) note.clear();
}

}  // namespace vlisp
