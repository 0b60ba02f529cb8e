// Interruption: what ends an evaluation from outside LISP.
// One idea: one flag that the evaluator looks at; while it is up, every form evaluates to nil and
// nothing is called or bound, no SETQ can take it back, and whoever started the evaluation reports
// the reason.
// Tests: tests/core/limits_test.cpp.
//
// Ours: the dialect knows neither a limit of depth nor a way to stop a program. A machine and its
// user do.
#pragma once

#include "core/error_buffer.h"

#include <atomic>

namespace vlisp::interruption {

enum class Reason : int { none, tooDeep, outOfMemory, cancelled };

namespace detail {
inline std::atomic<Reason> reason{Reason::none};
}

/// Asks the running evaluation to end. Any thread, and any signal handler, may call. The first
/// reason stays until it is taken.
inline void request(Reason why) noexcept {
    Reason none = Reason::none;
    detail::reason.compare_exchange_strong(none, why, std::memory_order_relaxed);
}

[[nodiscard]] inline bool pending() noexcept {
    return detail::reason.load(std::memory_order_relaxed) != Reason::none;
}

/// Lowers the flag and returns what it said.
inline Reason take() noexcept {
    return detail::reason.exchange(Reason::none, std::memory_order_relaxed);
}

/// The error text for a reason other than none.
[[nodiscard]] inline std::u16string_view message(Reason why) noexcept {
    switch (why) {
    case Reason::tooDeep: return messages::tooDeep;
    case Reason::outOfMemory: return messages::outOfMemory;
    case Reason::cancelled: return messages::cancelled;
    case Reason::none: break;
    }
    return {};
}

}  // namespace vlisp::interruption
