// Pieces: where they come from and go to. See small_blocks.h.
#include "core/small_blocks.h"

#include "platform/system.h"

#include <utility>

namespace vlisp::small_blocks {

using detail::Block;
using detail::Piece;

namespace {

// Pieces that are not the current one of their size and have room, by size.
constinit Piece* withRoom[sizes] = {};

// Empty pieces, linked by `next`.
struct Stack {
    Piece* first = nullptr;
    std::size_t count = 0;

    void push(Piece* piece) noexcept {
        piece->next = std::exchange(first, piece);
        ++count;
    }
    Piece* pop() noexcept {
        Piece* piece = first;
        if (piece == nullptr) return nullptr;
        first = piece->next;
        --count;
        return piece;
    }
};
constinit Stack warm;
// Their memory has gone back to the system, but for the page with the head.
constinit Stack cold;
constinit std::size_t inUse = 0;

// What is left of the memory that the system gave last.
constinit std::byte* fresh = nullptr;
constinit std::size_t freshBytes = 0;

std::byte* begin(Piece* piece) noexcept { return reinterpret_cast<std::byte*>(piece); }

Piece* freshPiece() noexcept {
    constexpr std::size_t atOnce = std::size_t{1} << 20;
    if (freshBytes == 0) {
        const bool first = inUse == 0;
        void* memory = platform::allocateAligned(
            atOnce, pieceBytes, first ? platform::Pages::whenTouched : platform::Pages::now);
        if (memory == nullptr) return nullptr;
        fresh = static_cast<std::byte*>(memory);
        freshBytes = atOnce;
    }
    void* piece = std::exchange(fresh, fresh + pieceBytes);
    freshBytes -= pieceBytes;
    return new (piece) Piece;
}

Piece* emptyPiece() noexcept {
    if (Piece* piece = warm.pop()) return piece;
    if (Piece* piece = cold.pop()) return piece;
    return freshPiece();
}

void putAway(Piece& piece) noexcept {
    constexpr std::size_t page = 4096;
    if (warm.count < mostWarm) {
        warm.push(&piece);
    } else {
        platform::forgetPages(begin(&piece) + page, pieceBytes - page);
        cold.push(&piece);
    }
}

void link(Piece& piece) noexcept {
    Piece*& first = withRoom[piece.blockBytes / step];
    piece.previous = nullptr;
    piece.next = std::exchange(first, &piece);
    if (piece.next != nullptr) piece.next->previous = &piece;
}

void unlink(Piece& piece) noexcept {
    if (piece.next != nullptr) piece.next->previous = piece.previous;
    if (piece.previous != nullptr) piece.previous->next = piece.next;
    else withRoom[piece.blockBytes / step] = piece.next;
}

// Cuts some more blocks, so that pages are touched when they are needed. False when all are cut.
bool cutBlocks(Piece& piece) noexcept {
    constexpr std::uint32_t atOnce = 1024;
    const std::uint32_t bytes = piece.blockBytes;
    if (piece.uncut + bytes > pieceBytes) return false;
    Block** end = &piece.free;
    const std::uint32_t enough = piece.uncut + atOnce;
    do {
        *end = new (begin(&piece) + piece.uncut) Block{nullptr};
        end = &(*end)->next;
        piece.uncut += bytes;
    } while (piece.uncut < enough && piece.uncut + bytes <= pieceBytes);
    return true;
}

Piece* pieceWithRoom(std::size_t size) noexcept {
    if (Piece* piece = withRoom[size]) {
        unlink(*piece);
        return piece;
    }
    Piece* piece = emptyPiece();
    if (piece == nullptr) return nullptr;
    ++inUse;
    *piece = Piece{};
    piece->blockBytes = static_cast<std::uint32_t>(size * step);
    piece->uncut = sizeof(Piece);
    cutBlocks(*piece);
    return piece;
}

std::uint32_t blocksOf(const Piece& piece) noexcept {
    return static_cast<std::uint32_t>((pieceBytes - sizeof(Piece)) / piece.blockBytes);
}

}  // namespace

void* detail::takeSlowly(std::size_t size) noexcept {
    Piece* piece = current[size];
    if (piece == &noPiece || !cutBlocks(*piece)) {
        Piece* other = pieceWithRoom(size);
        if (other == nullptr) return nullptr;
        if (piece != &noPiece) {
            piece->isFull = true;
            piece->taken = 1;
        }
        current[size] = piece = other;
    }
    Block* block = piece->free;
    piece->free = block->next;
    ++piece->taken;
    return block;
}

void detail::pieceChanged(Piece& piece) noexcept {
    if (piece.isFull) {
        piece.isFull = false;
        piece.taken = blocksOf(piece) - 1;
        link(piece);
    } else if (&piece != current[piece.blockBytes / step]) {
        unlink(piece);
        --inUse;
        putAway(piece);
    }
}

Counts counts() noexcept { return {inUse, warm.count, cold.count}; }

}  // namespace vlisp::small_blocks
