// Small blocks of memory, cut from pieces.
// One idea: a piece holds blocks of one size and knows how many are taken, so that a block needs no
// head, taking and giving back are a few instructions, and a piece that is empty serves any size again.
// Tests: tests/core/small_blocks_test.cpp.
//
// Thread: the one that evaluates, as everything on the interpreter's heap.
#pragma once

#include "platform/sanitizers.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace vlisp::small_blocks {

// The address sanitizer must see every block come and go.
#if defined(VLISP_ADDRESS_SANITIZER)
inline constexpr bool areUsed = false;
#else
inline constexpr bool areUsed = true;
#endif

/// Sizes are rounded up to whole steps; what is larger than the largest is no small block.
inline constexpr std::size_t step = 16;
inline constexpr std::size_t largest = 128;
inline constexpr std::size_t sizes = largest / step + 1;
/// A piece, with its head; its address is a multiple of that.
inline constexpr std::size_t pieceBytes = 16 * 1024;

namespace detail {

struct Block {
    Block* next;
};

struct alignas(64) Piece {
    Block* free = nullptr;    ///< blocks that may be taken
    std::uint32_t taken = 0;  ///< of a full piece 1, so that the next release goes the slow way
    bool isFull = false;
    std::uint32_t blockBytes = 0;
    std::uint32_t uncut = 0;  ///< where the part begins that no blocks have been cut from yet
    Piece* next = nullptr;
    Piece* previous = nullptr;
};

// The piece that blocks of each size are taken from. The first one has no room for any.
inline constinit Piece noPiece{};
inline constinit Piece* current[sizes] = {&noPiece, &noPiece, &noPiece, &noPiece, &noPiece,
                                          &noPiece, &noPiece, &noPiece, &noPiece};

inline Piece* pieceOf(void* block) noexcept {
    return reinterpret_cast<Piece*>(reinterpret_cast<std::uintptr_t>(block) & ~(pieceBytes - 1));
}

void* takeSlowly(std::size_t size) noexcept;
void pieceChanged(Piece& piece) noexcept;

}  // namespace detail

/// A block of `bytes` bytes, 1 to `largest`, aligned to 16; null when the machine has no more.
inline void* take(std::size_t bytes) noexcept {
    const std::size_t size = (bytes + step - 1) / step;
    detail::Piece& piece = *detail::current[size];
    if (detail::Block* block = piece.free) {
        piece.free = block->next;
        ++piece.taken;
        return block;
    }
    return detail::takeSlowly(size);
}

/// Gives a block back.
inline void give(void* block) noexcept {
    detail::Piece& piece = *detail::pieceOf(block);
    piece.free = new (block) detail::Block{piece.free};
    if (--piece.taken == 0) detail::pieceChanged(piece);
}

/// Pieces that blocks are cut from; and those that wait for any size, with their memory and without.
struct Counts {
    std::size_t inUse = 0;
    std::size_t warm = 0;
    std::size_t cold = 0;
};
Counts counts() noexcept;

/// So many empty pieces keep their memory; that of others goes back to the system.
inline constexpr std::size_t mostWarm = (std::size_t{32} << 20) / pieceBytes;

}  // namespace vlisp::small_blocks
