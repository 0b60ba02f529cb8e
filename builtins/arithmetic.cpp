// Arithmetic, comparison and bit functions. See arithmetic.h.
#include "builtins/arithmetic.h"

#include "builtins/arguments.h"

#include <functional>

namespace vlisp {
namespace {

// Folds `operation` over `rest` beginning with `accumulator`; a Real anywhere makes a Real.
template <class Operation>
Cell fold(double accumulator, bool realSeen, Arguments rest, Operation operation) {
    for (const Cell& argument : rest) {
        if (argument.is(CellType::Real)) realSeen = true;
        accumulator = operation(accumulator, argument.numericValue());
    }
    if (realSeen) return Cell::real(accumulator);
    return Cell::integer(truncatedToInteger(accumulator));
}

// On purpose: a single argument is its own result; (- 5) is 5 and (/ 4) is 4.
template <class Operation> Cell foldFromFirst(Arguments arguments, Operation operation) {
    if (arguments.empty()) return NilCell;
    const Cell& first = arguments[0];
    return fold(first.numericValue(), first.is(CellType::Real), arguments.subspan(1), operation);
}

// On purpose: every later argument is compared with the first, not with its neighbour.
template <class Fails> Cell compareWithFirst(Arguments arguments, Fails fails) {
    if (arguments.empty()) return NilCell;
    const double first = arguments[0].numericValue();
    for (const Cell& argument : arguments.subspan(1))
        if (fails(first, argument.numericValue())) return FalseCell;
    return TrueCell;
}

template <class Operation> Cell combineBits(Arguments arguments, Operation operation) {
    if (arguments.empty()) return Cell::integer(0);
    std::int32_t bits = arguments[0].intValue();
    for (const Cell& argument : arguments) {
        if (!argument.is(CellType::Integer)) return NilCell;
        bits = operation(bits, argument.intValue());
    }
    return Cell::integer(bits);
}

}  // namespace

Cell plus(Arguments arguments) { return foldFromFirst(arguments, std::plus<>()); }
Cell minus(Arguments arguments) { return foldFromFirst(arguments, std::minus<>()); }
Cell times(Arguments arguments) { return fold(1.0, false, arguments, std::multiplies<>()); }
Cell divide(Arguments arguments) { return foldFromFirst(arguments, std::divides<>()); }

// The tests are worded as failures, which is what decides where not-a-number is among them.
Cell greater(Arguments arguments) {
    return compareWithFirst(arguments, [](double a, double b) { return b >= a; });
}
Cell less(Arguments arguments) {
    return compareWithFirst(arguments, [](double a, double b) { return a >= b; });
}
Cell lessOrEqual(Arguments arguments) {
    return compareWithFirst(arguments, [](double a, double b) { return a > b; });
}

Cell complement(Arguments arguments) {
    if (!has(arguments, 0, CellType::Integer)) return NilCell;
    return Cell::integer(~arguments[0].intValue());
}
Cell logand(Arguments arguments) { return combineBits(arguments, std::bit_and<>()); }
Cell logior(Arguments arguments) { return combineBits(arguments, std::bit_or<>()); }

}  // namespace vlisp
