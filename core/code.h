// Code: what a form is translated into, and what the machine carries out.
// One idea: instructions of one size over a row of registers: first the slots of the function's own
// names, then places for what is being computed, used like a stack.
// Tests: tests/core/translator_test.cpp (the code of small forms), tests/reference/ (what it does).
//
// The short way and the long way. Most of what programs compute is built-ins applied to variables,
// constants and one another. Such a tree is translated into short instructions that work on
// registers directly and assume that no error stands in the buffer and that the names are still
// bound to the built-ins (intrinsics.h). An instruction that finds it otherwise has changed nothing
// yet: the machine *detours*, that is, it carries out the same form the long way, step by step as
// the language has it, and comes back behind it. The long way is translated when it is first needed.
#pragma once

#include "core/cell.h"
#include "core/environment.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vlisp {

// Every operation: its name, how its operands are shown.
//
// R(i) is a register (X: the one that x tells). K is a constant, N a name, I an intrinsic, n the
// number of arguments in b, d and s are a scope so many scopes outward (b) and a slot of it (c). @ is where a jump goes. An operation with a guard (!) detours when the
// obstacles say so.
//
// clang-format off
#define VLISP_OPERATIONS(X)                                                                        \
    /* --- Loading: what evaluating a constant or a symbol gives --- */                            \
    X(loadConstant,     "a K")      /* R(a) = K */                                                 \
    X(loadLocal,        "a b")      /* R(a) = R(b), or nil while an error stands */                \
    X(loadMaybe,        "a b N")    /* the same of a slot that may be unbound */                   \
    X(loadScope,        "a d s N")  /* the same of slot c, b scopes outward */                     \
    X(loadGlobal,       "a N")      /* the same of a global name */                                \
    X(loadByName,       "a N")      /* the same, searched scope by scope */                        \
    /* --- The same on the short way: detour when there is an error or nothing bound --- */        \
    X(takeLocal,        "a b !")                                                                   \
    X(takeMaybe,        "a b !")                                                                   \
    X(takeScope,        "a d s !")                                                                 \
    X(takeGlobal,       "a N !")                                                                   \
    /* --- SETQ: assign R(a) and empty the error buffer; y: R(a) is kept as a value --- */         \
    X(setLocal,         "a b")                                                                     \
    X(setConstant,      "b K")      /* R(b) = K */                                                 \
    X(setScope,         "a d s N")                                                                 \
    X(setGlobal,        "a N")                                                                     \
    X(setByName,        "a N")                                                                     \
    /* --- DEFINE: bind R(a) in the current scope; y as above --- */                               \
    X(defineLocal,      "a b")                                                                     \
    X(defineScope,      "a s")                                                                     \
    X(defineByName,     "a N")                                                                     \
    /* --- Built-ins on two values: R(a) = R(b) op R(c), or op K --- */                            \
    X(add,              "a b c !")                                                                 \
    X(addConstant,      "a b K !")                                                                 \
    X(subtract,         "a b c !")                                                                 \
    X(subtractConstant, "a b K !")                                                                 \
    X(multiply,         "a b c !")                                                                 \
    X(multiplyConstant, "a b K !")                                                                 \
    X(divide,           "a b c !")                                                                 \
    X(divideConstant,   "a b K !")                                                                 \
    X(subtractFromConstant, "a b K !")  /* K - R(b) */                                             \
    X(divideConstantBy, "a b K !")  /* K / R(b) */                                                 \
    X(less,             "a b c !")                                                                 \
    X(lessConstant,     "a b K !")                                                                 \
    X(greater,          "a b c !")                                                                 \
    X(greaterConstant,  "a b K !")                                                                 \
    X(lessOrEqual,      "a b c !")                                                                 \
    X(lessOrEqualConstant, "a b K !")                                                              \
    X(equal,            "a b c !")                                                                 \
    X(equalConstant,    "a b K !")                                                                 \
    X(notEqual,         "a b c !")                                                                 \
    X(notEqualConstant, "a b K !")                                                                 \
    X(addThree,         "a b c X !")  /* R(a) = R(b) op R(c) op R(x) */                            \
    X(subtractThree,    "a b c X !")                                                               \
    X(multiplyThree,    "a b c X !")                                                               \
    X(divideThree,      "a b c X !")                                                               \
    X(appendItem,       "a b c !")  /* R(a) = R(b), a list, with the item R(c) behind it */        \
    X(appendText,       "a b c !")  /* STRCAT of two */                                            \
    X(appendTextConstant, "a b K !")                                                               \
    X(nth,              "a b c !")                                                                 \
    X(cons,             "a b c !")                                                                 \
    /* --- Built-ins on one value: R(a) = op R(b) --- */                                           \
    X(car,              "a b !")                                                                   \
    X(cdr,              "a b !")                                                                   \
    X(cadr,             "a b !")                                                                   \
    X(length,           "a b !")                                                                   \
    X(nullp,            "a b !")                                                                   \
    X(listp,            "a b !")                                                                   \
    /* --- Tests and jumps; a comparison jumps when its outcome is not the wanted one --- */       \
    X(ifObstacles,      "@")        /* jumps while anything stands in the way of a short way */    \
    X(jump,             "@")                                                                       \
    X(jumpIfFalse,      "a @")                                                                     \
    X(jumpIfTrue,       "a @")                                                                     \
    X(keepIfTrue,       "a @")      /* jumps with R(a) when that is true, else lets go of it */    \
    X(unlessLess,       "b c @ !")                                                                 \
    X(unlessLessConstant, "b K @ !")                                                               \
    X(ifLess,           "b c @ !")                                                                 \
    X(ifLessConstant,   "b K @ !")                                                                 \
    X(unlessGreater,    "b c @ !")                                                                 \
    X(unlessGreaterConstant, "b K @ !")                                                            \
    X(ifGreater,        "b c @ !")                                                                 \
    X(ifGreaterConstant, "b K @ !")                                                                \
    X(unlessLessOrEqual, "b c @ !")                                                                \
    X(unlessLessOrEqualConstant, "b K @ !")                                                        \
    X(ifLessOrEqual,    "b c @ !")                                                                 \
    X(ifLessOrEqualConstant, "b K @ !")                                                            \
    X(unlessEqual,      "b c @ !")                                                                 \
    X(unlessEqualConstant, "b K @ !")                                                              \
    X(ifEqual,          "b c @ !")                                                                 \
    X(ifEqualConstant,  "b K @ !")                                                                 \
    X(unlessNotEqual,   "b c @ !")                                                                 \
    X(unlessNotEqualConstant, "b K @ !")                                                           \
    X(ifNotEqual,       "b c @ !")                                                                 \
    X(ifNotEqualConstant, "b K @ !")                                                               \
    X(unlessNull,       "b @ !")                                                                   \
    X(ifNull,           "b @ !")                                                                   \
    X(unlessGlobal,     "N @")      /* of the value of a global name, as loadGlobal has it */      \
    X(ifGlobal,         "N @")                                                                     \
    X(startRepeat,      "a @")      /* unless R(a) is a count above 0, jump */                     \
    X(nextRepeat,       "a @")      /* R(a) counts down; above 0, jump */                          \
    /* --- Calls: arguments in a row of registers; the value replaces the first of them --- */     \
    X(guard,            "!")        /* detour unless the head is still the built-in */             \
    X(checkHead,        "a @")      /* while an error stands: R(a) = nil, jump */                  \
    X(call,             "a n")      /* head in R(a), b arguments behind it */                      \
    X(callGlobal,       "a n N")    /* b arguments from R(a); the head is a global name */         \
    X(callBuiltin,      "a n c I !")  /* R(a) = intrinsic x of b arguments from R(c) */            \
    X(startArguments,   "a")        /* R(a) = an empty row of arguments */                         \
    X(pushArgument,     "a b")      /* R(b) joins the row in R(a) */                               \
    X(callSpread,       "a")        /* head in R(a), row of arguments behind it */                 \
    /* --- The rest --- */                                                                         \
    X(makeLambda,       "a K")      /* R(a) = the LAMBDA form K, closed in the current scope */    \
    X(makeFunction,     "a K")      /* DEFUN: K is (name, LAMBDA form); R(a) = the function */     \
    X(evaluate,         "a K")      /* R(a) = the form K, translated apart (it is too deep) */     \
    X(move,             "a b")      /* R(a) = R(b), which is empty then */                         \
    X(drop,             "a")        /* R(a) is let go of */                                        \
    X(comeBack,         "x")        /* end of a detour: on with instruction x of block y */        \
    X(leave,            "a")        /* the code's value is R(a) */
// clang-format on

enum class Op : std::uint16_t {
#define VLISP_NAME(name, operands) name,
    VLISP_OPERATIONS(VLISP_NAME)
#undef VLISP_NAME
};

/// One instruction. `x` numbers a constant or a name. `y` is where a jump goes, counted from the
/// instruction itself; of a SETQ or DEFINE, whether the value is kept; of other guarded
/// instructions the guard. A guarded jump has its guard in `a`. A guard is the number of an
/// intrinsic; 0 asks nothing.
struct Instruction {
    Op op;
    std::uint16_t a = 0;
    std::uint16_t b = 0;
    std::uint16_t c = 0;
    std::uint32_t x = 0;
    std::int32_t y = 0;
};
static_assert(sizeof(Instruction) == 16);

/// A form that is carried out the short way, and what to do with its value after a detour.
struct ShortWay {
    std::uint32_t first = 0;  ///< number of its first instruction in the block
    std::uint32_t after = 0;  ///< where to go on
    Cell form;
    std::uint16_t target = 0;  ///< register that receives the value, free from here on

    /// What becomes of the value in R(target): it stays, it is assigned to R(slot) as SETQ does, or
    /// the jump just before `after` depends on whether it is true.
    enum class Use : std::uint8_t { value, assign, jumpIfTrue, jumpIfFalse } use = Use::value;
    std::uint16_t slot = 0;
    std::uint16_t nesting = 0;  ///< how deep in its code the form stands

    std::uint32_t detour = 0;  ///< number of the block of the long way; 0 until it is translated
};

/// Instructions that lie in one piece.
struct Block {
    std::vector<Instruction> instructions;
    std::vector<ShortWay> shortWays;  ///< in order of `first`; none overlap
};

class NativeCode;

/// The translation of a form, or of the body of a function. Counted: functions, the cache, and a
/// machine that runs it hold it.
class Code final : public HeapObject {
  public:
    static Ref<Code> make();
    Code();
    ~Code();

    /// Block 0 is the form itself, the others are detours. Their addresses stay.
    std::vector<std::unique_ptr<Block>> blocks;
    /// Number of each detour's block, by its first instruction.
    std::map<const Instruction*, std::uint32_t, std::less<>> detours;
    std::vector<Cell> constants;
    std::vector<SymbolRef> names;
    std::vector<Ref<Code>> parts;  ///< of `evaluate`, by number of the constant; null until needed

    /// Names of the scope that the code runs in; null for the global one.
    Ref<ScopeShape> shape;
    std::uint32_t parameters = 0;  ///< that a call must fill
    std::uint32_t slots = 0;       ///< registers of names, in the order of the shape's slots
    std::uint32_t registers = 0;   ///< all that it needs
    /// The names live in registers: nothing that outlives the call can see them.
    bool namesInRegisters = false;
    /// It is a function's: a call gives values to names, in registers or in a scope of its own.
    bool isFunction = false;
    /// A call with as many arguments as parameters has nothing to prepare: the arguments are the
    /// registers of all names.
    bool callsPlainly = false;
    std::uint32_t firstTemporary = 0;    ///< the registers before it are those of names
    const Instruction* entry = nullptr;  ///< where block 0 begins
    /// Slot of each parameter, when a name is given twice; otherwise parameter i has slot i.
    std::vector<std::uint32_t> parameterSlots;

    /// The processor's instructions for block 0; null until it has run often enough.
    std::unique_ptr<NativeCode> native;
    const std::byte* nativeEntry = nullptr;  ///< native->entry()
    std::uint32_t turns = 0;                 ///< calls and jumps back until it was compiled

    /// Empties it for the next form; keeps the memory.
    void reset() noexcept;

    /// The short way that instruction `at` is part of. It must be part of one.
    [[nodiscard]] ShortWay& shortWayAt(const Instruction* at, std::size_t& block) noexcept;
};

/// The operands of an operation, as the table has them.
[[nodiscard]] std::string_view operandsOf(Op op) noexcept;

/// A cell on one line, cut where it grows long.
[[nodiscard]] std::u16string shortPrint(const Cell& cell);

/// One instruction as people read it.
[[nodiscard]] std::u16string describe(const Code& code, const Block& block, std::size_t at);

/// The whole code, a line each instruction, those of long ways that have been translated included.
[[nodiscard]] std::u16string describe(const Code& code);

}  // namespace vlisp
