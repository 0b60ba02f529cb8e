// Translating forms. See translator.h; code.h tells what the instructions mean.
#include "core/translator.h"

#include "core/intrinsics.h"
#include "core/printer.h"
#include "core/reader.h"

#include <algorithm>
#include <utility>

namespace vlisp {
namespace {

using Register = std::uint32_t;

// Forms nested deeper than this are translated apart, so that the translator's own recursion and the
// number of registers stay small.
constexpr int deepestNesting = 100;
// Calls with more arguments than this collect them in a list.
constexpr std::size_t mostArguments = 200;
// A function with more names than this keeps them in a scope object.
constexpr std::size_t mostNamesInRegisters = 1000;
// How many parts of a form are looked at to see whether it can go the short way.
constexpr int mostPartsOfATree = 64;

// What the machine does itself for an intrinsic with the right number of arguments.
struct Shortcut {
    std::size_t arguments = 0;  // 0: there is none
    Op onRegisters{};
    Op withConstant{};  // the second argument is a constant; same as onRegisters when there is none
    bool isTest = false;
    Op unless{}, unlessConstant{}, when{}, whenConstant{};

    [[nodiscard]] bool takes(Items form) const noexcept {
        return arguments != 0 && form.size() == arguments + 1;
    }
};

Shortcut shortcutOf(Intrinsic intrinsic) noexcept {
    const auto comparison = [](Op op, Op constant, Op unless, Op unlessConstant, Op when,
                               Op whenConstant) {
        return Shortcut{2, op, constant, true, unless, unlessConstant, when, whenConstant};
    };
    switch (intrinsic) {
    case Intrinsic::add:
        return {.arguments = 2, .onRegisters = Op::add, .withConstant = Op::addConstant};
    case Intrinsic::subtract:
        return {.arguments = 2, .onRegisters = Op::subtract, .withConstant = Op::subtractConstant};
    case Intrinsic::multiply:
        return {.arguments = 2, .onRegisters = Op::multiply, .withConstant = Op::multiplyConstant};
    case Intrinsic::divide:
        return {.arguments = 2, .onRegisters = Op::divide, .withConstant = Op::divideConstant};
    case Intrinsic::less:
        return comparison(Op::less, Op::lessConstant, Op::unlessLess, Op::unlessLessConstant,
                          Op::ifLess, Op::ifLessConstant);
    case Intrinsic::greater:
        return comparison(Op::greater, Op::greaterConstant, Op::unlessGreater,
                          Op::unlessGreaterConstant, Op::ifGreater, Op::ifGreaterConstant);
    case Intrinsic::lessOrEqual:
        return comparison(Op::lessOrEqual, Op::lessOrEqualConstant, Op::unlessLessOrEqual,
                          Op::unlessLessOrEqualConstant, Op::ifLessOrEqual,
                          Op::ifLessOrEqualConstant);
    case Intrinsic::equalSign:
    case Intrinsic::equal:
    case Intrinsic::eq:
        return comparison(Op::equal, Op::equalConstant, Op::unlessEqual, Op::unlessEqualConstant,
                          Op::ifEqual, Op::ifEqualConstant);
    case Intrinsic::notEqual:
        return comparison(Op::notEqual, Op::notEqualConstant, Op::unlessNotEqual,
                          Op::unlessNotEqualConstant, Op::ifNotEqual, Op::ifNotEqualConstant);
    case Intrinsic::strcat:
        return {
            .arguments = 2, .onRegisters = Op::appendText, .withConstant = Op::appendTextConstant};
    case Intrinsic::nth: return {.arguments = 2, .onRegisters = Op::nth, .withConstant = Op::nth};
    case Intrinsic::cons:
        return {.arguments = 2, .onRegisters = Op::cons, .withConstant = Op::cons};
    case Intrinsic::car: return {.arguments = 1, .onRegisters = Op::car};
    case Intrinsic::cdr: return {.arguments = 1, .onRegisters = Op::cdr};
    case Intrinsic::cadr: return {.arguments = 1, .onRegisters = Op::cadr};
    case Intrinsic::length: return {.arguments = 1, .onRegisters = Op::length};
    case Intrinsic::nullp:
        return {.arguments = 1,
                .onRegisters = Op::nullp,
                .isTest = true,
                .unless = Op::unlessNull,
                .when = Op::ifNull};
    case Intrinsic::listp: return {.arguments = 1, .onRegisters = Op::listp};
    default: break;
    }
    return {};
}

// The operation on three registers; `jump` when there is none.
Op onThree(Intrinsic intrinsic) noexcept {
    switch (intrinsic) {
    case Intrinsic::add: return Op::addThree;
    case Intrinsic::subtract: return Op::subtractThree;
    case Intrinsic::multiply: return Op::multiplyThree;
    case Intrinsic::divide: return Op::divideThree;
    default: return Op::jump;
    }
}

SpecialForm specialFormOf(Items form) noexcept {
    const SymbolData* head = form.front().symbolData();
    return head != nullptr ? head->specialForm : SpecialForm::none;
}

// Whether evaluating this cell gives the cell itself, or nil for what has no value.
bool isConstant(const Cell& cell) noexcept {
    return !cell.is(CellType::Symbol) && cell.items().empty();
}

const Cell& constantValue(const Cell& cell) noexcept {
    switch (cell.type()) {
    case CellType::List:
    case CellType::Proc:
    case CellType::Lambda: return NilCell;
    default: return cell;
    }
}

// Element i of a form, or nil where the form is too short.
const Cell& element(Items form, std::size_t i) noexcept {
    return i < form.size() ? form[i] : NilCell;
}

// The value of a form that is known beforehand, of a constant or a QUOTE; null of any other.
const Cell* settledValue(const Cell& cell) noexcept {
    const Items form = cell.items();
    if (!form.empty() && specialFormOf(form) == SpecialForm::quote) return &element(form, 1);
    return isConstant(cell) ? &constantValue(cell) : nullptr;
}

SymbolRef definedName(const Cell& nameElement) {
    const std::u16string_view name = nameElement.text();
    return name.starts_with(u"C:") ? intern(name.substr(2)) : nameElement.textAsSymbol();
}

// --- What a function's text tells before it is translated ---

// The names that its scope can hold, and whether something in it may outlive a call.
class Survey {
  public:
    explicit Survey(ScopeShape& shape) : shape_(shape) {}

    void look(const Cell& body) {
        lookForLocals(body);
        open_.push_back({&body, 1});
        while (!open_.empty()) {
            const auto [cell, depth] = open_.back();
            open_.pop_back();
            tooDeep = tooDeep || depth > deepestNesting;
            if (const Items form = cell->items(); !form.empty()) lookAt(form, depth);
        }
    }

    bool makesClosures = false;
    bool tooDeep = false;

  private:
    struct Open {
        const Cell* cell;
        int depth;
    };

    // The DEFINEs of constants that a body begins with, as DEFUN makes them of locals.
    void lookForLocals(const Cell& body) {
        const Items form = body.items();
        if (form.empty() || specialFormOf(form) != SpecialForm::begin) return;
        for (const Cell& each : form.subspan(1)) {
            const Items definition = each.items();
            if (definition.size() != 3 || specialFormOf(definition) != SpecialForm::define ||
                !isConstant(definition[2]))
                return;
            shape_.add(definition[1].textAsSymbol(), true);
        }
    }

    void lookAt(Items form, int depth) {
        std::size_t first = 1;
        switch (specialFormOf(form)) {
        case SpecialForm::quote: return;
        case SpecialForm::lambda: makesClosures = true; return;
        case SpecialForm::defun:
            makesClosures = true;
            if (form.size() >= 3) shape_.add(definedName(form[1]), false);
            return;
        case SpecialForm::define:
            shape_.add(element(form, 1).textAsSymbol(), false);
            first = 2;
            break;
        case SpecialForm::cond:
            for (const Cell& clause : form.subspan(1))
                for (const Cell& each : clause.items()) open_.push_back({&each, depth + 1});
            return;
        case SpecialForm::none: first = 0; break;
        default: break;
        }
        for (std::size_t i = first; i < form.size(); ++i) open_.push_back({&form[i], depth + 1});
    }

    ScopeShape& shape_;
    std::vector<Open> open_;
};

// --- Names ---

// Where the value of a name lies.
struct Place {
    enum class Kind : std::uint8_t {
        local,   // a register, always bound
        maybe,   // a register that may be unbound
        scope,   // a slot of a scope object, `depth` scopes outward
        global,  // the name's global place
        byName   // it takes a search
    } kind;
    std::uint32_t slot = 0;
    std::uint32_t depth = 0;
};

Place placeOf(const Code& code, const SymbolData* name) {
    constexpr std::uint32_t furthest = 0xffff;
    std::uint32_t depth = 0;
    for (const ScopeShape* shape = code.shape.get(); shape != nullptr; shape = shape->outer()) {
        if (shape->open || depth > furthest) return {Place::Kind::byName};
        const bool inRegisters = code.namesInRegisters && shape == code.shape.get();
        if (const std::uint32_t slot = shape->find(name); slot != ScopeShape::none) {
            if (slot > furthest) return {Place::Kind::byName};
            if (!inRegisters) return {Place::Kind::scope, slot, depth};
            return {shape->slots()[slot].alwaysBound ? Place::Kind::local : Place::Kind::maybe,
                    slot};
        }
        if (!inRegisters) ++depth;
    }
    return {Place::Kind::global};
}

// --- Translating ---

// A place in the code that jumps can go to before it is known. Jumps that wait for it are chained
// through their `y`.
struct Label {
    static constexpr std::uint32_t unknown = 0xffffffff;
    std::uint32_t at = unknown;
    std::uint32_t waiting = unknown;
};

class Translator {
  public:
    Translator(Code& code, Block& block) : code_(code), block_(block) {}

    /// The whole block: evaluates `form` and leaves with its value.
    void body(const Cell& form) {
        const Register first = code_.namesInRegisters ? code_.slots : 0;
        value(form, first);
        emit({Op::leave, narrow(first)});
        shortenReturns();
        // The long way of a form has its head in front of its arguments: each one around a place
        // moves it by one register.
        code_.registers += static_cast<Register>(deepest_) + 1;
        code_.firstTemporary = first;
        code_.entry = block_.instructions.data();
    }

    /// The long way of `way.form`, and what becomes of its value. Comes back to block `home`.
    void detour(const ShortWay& way, std::size_t home) {
        const Register t = way.target;
        nesting_ = way.nesting;
        longWay(way.form.items(), t);
        const auto comeBackTo = [&](std::uint32_t at) {
            emit({.op = Op::comeBack, .x = at, .y = static_cast<std::int32_t>(home)});
        };
        switch (way.use) {
        case ShortWay::Use::value: break;
        case ShortWay::Use::assign: emit({Op::setLocal, narrow(t), way.slot}); break;
        case ShortWay::Use::jumpIfTrue:
        case ShortWay::Use::jumpIfFalse: {
            Label stays;
            const bool ifTrue = way.use == ShortWay::Use::jumpIfTrue;
            jumpTo(ifTrue ? Op::jumpIfFalse : Op::jumpIfTrue, t, stays);
            const std::uint32_t jump = way.after - 1;
            const std::int32_t by = code_.blocks[home]->instructions[jump].y;
            comeBackTo(static_cast<std::uint32_t>(static_cast<std::int32_t>(jump) + by));
            bind(stays);
            break;
        }
        }
        comeBackTo(way.after);
    }

  private:
    // A value that an instruction works on: a register or a constant.
    struct Operand {
        const Cell* constant = nullptr;
        Register where = 0;
    };

    // --- Instructions and labels ---

    static std::uint16_t narrow(Register number) noexcept {
        return static_cast<std::uint16_t>(number);
    }

    std::uint32_t here() const noexcept {
        return static_cast<std::uint32_t>(block_.instructions.size());
    }

    std::uint32_t emit(const Instruction& instruction) {
        block_.instructions.push_back(instruction);
        return here() - 1;
    }

    void use(Register number) { code_.registers = std::max(code_.registers, number + 1); }

    void wait(std::uint32_t jump, Label& label) {
        Instruction& instruction = block_.instructions[jump];
        if (label.at != Label::unknown) {
            instruction.y = static_cast<std::int32_t>(label.at) - static_cast<std::int32_t>(jump);
        } else {
            instruction.y = static_cast<std::int32_t>(label.waiting);
            label.waiting = jump;
        }
    }

    void jumpTo(Op op, Register a, Label& label) { wait(emit({op, narrow(a)}), label); }

    void bind(Label& label) {
        label.at = here();
        for (std::uint32_t jump = label.waiting; jump != Label::unknown;) {
            const auto next = static_cast<std::uint32_t>(block_.instructions[jump].y);
            wait(jump, label);
            jump = next;
        }
    }

    std::uint32_t constant(const Cell& cell) {
        code_.constants.push_back(cell);
        return static_cast<std::uint32_t>(code_.constants.size() - 1);
    }

    std::uint32_t name(const SymbolRef& symbol) {
        // Names mostly come in groups: look at the last ones only.
        constexpr std::size_t remembered = 8;
        std::vector<SymbolRef>& names = code_.names;
        for (std::size_t i = names.size(); i > 0 && names.size() - i < remembered; --i)
            if (names[i - 1] == symbol) return static_cast<std::uint32_t>(i - 1);
        names.push_back(symbol);
        return static_cast<std::uint32_t>(names.size() - 1);
    }

    void load(const Cell& cell, Register t) {
        use(t);
        emit({.op = Op::loadConstant, .a = narrow(t), .x = constant(cell)});
    }

    // A jump to an instruction that leaves is one that leaves.
    void shortenReturns() {
        for (Instruction& instruction : block_.instructions) {
            if (instruction.op != Op::jump) continue;
            const Instruction& target = *(&instruction + instruction.y);
            if (target.op == Op::leave) instruction = target;
        }
    }

    // --- Forms for their value, for their effect, as a test ---

    /// Code that puts the value of `cell` into R(t); registers from t on are free.
    void value(const Cell& cell, Register t) {
        use(t);
        if (cell.is(CellType::Symbol)) return symbol(cell.textAsSymbol(), t);
        if (isConstant(cell)) return load(constantValue(cell), t);
        if (nesting_ >= deepestNesting && !code_.namesInRegisters) {
            emit({.op = Op::evaluate, .a = narrow(t), .x = constant(cell)});
            return;
        }
        ++nesting_;
        deepest_ = std::max(deepest_, nesting_);
        form(cell, cell.items(), t);
        --nesting_;
    }

    void form(const Cell& cell, Items elements, Register t) {
        switch (specialFormOf(elements)) {
        case SpecialForm::none: application(cell, elements, t); return;
        case SpecialForm::quote: load(element(elements, 1), t); return;
        case SpecialForm::ifForm: ifForm(elements, t); return;
        case SpecialForm::cond: cond(elements, t); return;
        case SpecialForm::notForm: notForm(elements, t); return;
        case SpecialForm::orForm: orForm(elements, t); return;
        case SpecialForm::andForm: andForm(elements, t); return;
        case SpecialForm::whileForm: whileForm(elements, t); return;
        case SpecialForm::repeat: repeat(elements, t, true); return;
        case SpecialForm::setq: setq(elements, t, true); return;
        case SpecialForm::define: define(elements, t, true); return;
        case SpecialForm::defun: defun(elements, t); return;
        case SpecialForm::lambda: makeLambda(cell, t); return;
        case SpecialForm::begin: begin(elements, t); return;
        }
    }

    /// Element i, nil where the form is too short.
    void valueOf(Items form, std::size_t i, Register t) {
        if (i < form.size()) return value(form[i], t);
        load(NilCell, t);
    }

    /// Code that evaluates `cell` and lets go of the value.
    void effect(const Cell& cell, Register t) {
        if (isConstant(cell)) return;
        const Items elements = cell.items();
        if (!elements.empty() && nesting_ < deepestNesting) {
            ++nesting_;
            const bool done = effectOfForm(elements, t);
            --nesting_;
            if (done) return;
        }
        value(cell, t);
        emit({Op::drop, narrow(t)});
    }

    void effects(Items form, std::size_t from, std::size_t to, Register t) {
        for (std::size_t i = from; i < to && i < form.size(); ++i) effect(form[i], t);
    }

    // The forms that do better when their value is not wanted.
    bool effectOfForm(Items elements, Register t) {
        switch (specialFormOf(elements)) {
        case SpecialForm::setq: setq(elements, t, false); return true;
        case SpecialForm::define: define(elements, t, false); return true;
        case SpecialForm::repeat: repeat(elements, t, false); return true;
        case SpecialForm::begin:
            if (elements.size() < 2) return false;
            effects(elements, 1, elements.size(), t);
            return true;
        case SpecialForm::ifForm: {
            Label otherwise;
            Label end;
            testOf(elements, 1, otherwise, t, false);
            effects(elements, 2, 3, t);
            if (elements.size() > 3) {
                jumpTo(Op::jump, 0, end);
                bind(otherwise);
                effect(elements[3], t);
            } else {
                bind(otherwise);
            }
            bind(end);
            return true;
        }
        default: return false;
        }
    }

    /// Code that jumps to `label` when the value of `cell` is false, and goes on otherwise.
    void jumpUnless(const Cell& cell, Label& label, Register t) { test(cell, label, t, false); }
    void jumpIf(const Cell& cell, Label& label, Register t) { test(cell, label, t, true); }

    // The same of element i; nothing is evaluated, and it is false, where the form is too short.
    void testOf(Items form, std::size_t i, Label& label, Register t, bool jumpsIfTrue) {
        if (i < form.size()) return test(form[i], label, t, jumpsIfTrue);
        if (!jumpsIfTrue) jumpTo(Op::jump, 0, label);
    }

    void test(const Cell& cell, Label& label, Register t, bool jumpsIfTrue) {
        const Items elements = cell.items();
        if (!elements.empty() && nesting_ < deepestNesting) {
            const SpecialForm special = specialFormOf(elements);
            if (special == SpecialForm::notForm && elements.size() > 1) {
                ++nesting_;
                test(elements[1], label, t, !jumpsIfTrue);
                --nesting_;
                return;
            }
            const Intrinsic intrinsic = intrinsicOf(elements);
            const Shortcut shortcut = shortcutOf(intrinsic);
            if (special == SpecialForm::andForm && testAll(cell, elements, label, t, jumpsIfTrue))
                return;
            if (special == SpecialForm::none && shortcut.isTest && shortcut.takes(elements)) {
                ++nesting_;
                testShortly(cell, elements, intrinsic, shortcut, label, t, jumpsIfTrue);
                --nesting_;
                return;
            }
        }
        if (cell.is(CellType::Symbol) &&
            placeOf(code_, cell.symbolData()).kind == Place::Kind::global) {
            const Op op = jumpsIfTrue ? Op::ifGlobal : Op::unlessGlobal;
            wait(emit({.op = op, .x = name(cell.textAsSymbol())}), label);
            return;
        }
        value(cell, t);
        jumpTo(jumpsIfTrue ? Op::jumpIfTrue : Op::jumpIfFalse, t, label);
    }

    // --- Symbols ---

    void symbol(const SymbolRef& symbol, Register t) {
        const Place place = placeOf(code_, symbol.get());
        switch (place.kind) {
        case Place::Kind::local: emit({Op::loadLocal, narrow(t), narrow(place.slot)}); return;
        case Place::Kind::maybe:
            emit({.op = Op::loadMaybe, .a = narrow(t), .b = narrow(place.slot), .x = name(symbol)});
            return;
        case Place::Kind::scope:
            emit({Op::loadScope, narrow(t), narrow(place.depth), narrow(place.slot), name(symbol)});
            return;
        case Place::Kind::global:
            emit({.op = Op::loadGlobal, .a = narrow(t), .x = name(symbol)});
            return;
        case Place::Kind::byName:
            emit({.op = Op::loadByName, .a = narrow(t), .x = name(symbol)});
            return;
        }
    }

    void assign(const SymbolRef& symbol, Register t, bool keep) {
        const Place place = placeOf(code_, symbol.get());
        const std::int32_t y = keep ? 1 : 0;
        switch (place.kind) {
        case Place::Kind::local:
            emit({.op = Op::setLocal, .a = narrow(t), .b = narrow(place.slot), .y = y});
            return;
        case Place::Kind::scope:
            emit({Op::setScope, narrow(t), narrow(place.depth), narrow(place.slot), name(symbol),
                  y});
            return;
        case Place::Kind::global:
            emit({.op = Op::setGlobal, .a = narrow(t), .x = name(symbol), .y = y});
            return;
        case Place::Kind::maybe:
        case Place::Kind::byName:
            emit({.op = Op::setByName, .a = narrow(t), .x = name(symbol), .y = y});
            return;
        }
    }

    void bindHere(const SymbolRef& symbol, Register t, bool keep) {
        const Place place = placeOf(code_, symbol.get());
        const std::int32_t y = keep ? 1 : 0;
        switch (place.kind) {
        case Place::Kind::local:
        case Place::Kind::maybe:
            emit({.op = Op::defineLocal, .a = narrow(t), .b = narrow(place.slot), .y = y});
            return;
        case Place::Kind::scope:
            if (place.depth == 0) {
                emit({.op = Op::defineScope, .a = narrow(t), .c = narrow(place.slot), .y = y});
                return;
            }
            break;
        case Place::Kind::global:
        case Place::Kind::byName: break;
        }
        emit({.op = Op::defineByName, .a = narrow(t), .x = name(symbol), .y = y});
    }

    // --- Special forms ---

    void ifForm(Items form, Register t) {
        Label otherwise;
        Label end;
        testOf(form, 1, otherwise, t, false);
        valueOf(form, 2, t);
        jumpTo(Op::jump, 0, end);
        bind(otherwise);
        valueOf(form, 3, t);
        bind(end);
    }

    void cond(Items form, Register t) {
        if (form.size() < 2) return load(Cell(), t);
        Label end;
        for (std::size_t i = 1; i < form.size(); ++i) {
            const Items clause = form[i].items();
            const bool isLast = i + 1 == form.size();
            Label next;
            if (clause.size() < 2) {
                // The remembered value is that of the test, true or false.
                if (isLast) valueOf(clause, 0, t);
                else if (!clause.empty()) {
                    value(clause[0], t);
                    jumpTo(Op::keepIfTrue, t, end);
                }
                continue;
            }
            jumpUnless(clause[0], next, t);
            effects(clause, 1, clause.size() - 1, t);
            value(clause.back(), t);
            jumpTo(Op::jump, 0, end);
            bind(next);
            // Behind a test that failed the symbol of the nil cell is evaluated in place of each
            // further element.
            if (isLast) symbol(NilCell.textAsSymbol(), t);
        }
        bind(end);
    }

    void notForm(Items form, Register t) {
        if (form.size() < 2) return load(NilCell, t);
        Label isTrue;
        Label end;
        jumpIf(form[1], isTrue, t);
        load(TrueCell, t);
        jumpTo(Op::jump, 0, end);
        bind(isTrue);
        load(NilCell, t);
        bind(end);
    }

    // On purpose: the outcome follows the first argument alone; the others are evaluated for their
    // effects.
    void orForm(Items form, Register t) {
        Label isTrue;
        Label rest;
        testOf(form, 1, isTrue, t, true);
        load(NilCell, t);
        jumpTo(Op::jump, 0, rest);
        bind(isTrue);
        load(TrueCell, t);
        bind(rest);
        effects(form, 2, form.size(), t + 1);
    }

    // On purpose: all arguments are evaluated; nothing is cut short.
    void andForm(Items form, Register t) {
        if (form.size() < 2) return load(NilCell, t);
        load(TrueCell, t);
        for (std::size_t i = 1; i < form.size(); ++i) {
            Label isTrue;
            jumpIf(form[i], isTrue, t + 1);
            emit({Op::drop, narrow(t)});
            load(NilCell, t);
            bind(isTrue);
        }
    }

    void whileForm(Items form, Register t) {
        Label test;
        Label again;
        jumpTo(Op::jump, 0, test);
        bind(again);
        effects(form, 2, form.size(), t);
        bind(test);
        testOf(form, 1, again, t, true);
        load(NilCell, t);
    }

    void repeat(Items form, Register t, bool wanted) {
        Label again;
        Label end;
        const Register result = t + 1;
        use(result);
        // The count stands in R(t), the value so far behind it.
        valueOf(form, 1, t);
        if (wanted) load(NilCell, result);
        jumpTo(Op::startRepeat, t, end);
        bind(again);
        effects(form, 2, form.size() - 1, t + 2);
        if (form.size() > 2) {
            if (wanted) {
                emit({Op::drop, narrow(result)});
                value(form.back(), result);
            } else {
                effect(form.back(), t + 2);
            }
        }
        jumpTo(Op::nextRepeat, t, again);
        bind(end);
        if (wanted) emit({Op::move, narrow(t), narrow(result)});
    }

    void setq(Items form, Register t, bool wanted) {
        if (form.size() < 2) {
            if (wanted) load(Cell(), t);
            return;
        }
        for (std::size_t i = 1; i < form.size(); i += 2) {
            const bool keep = wanted && i + 2 >= form.size();
            const SymbolRef variable = form[i].textAsSymbol();
            if (!keep && i + 1 < form.size() && computeInPlace(variable, form[i + 1], t)) continue;
            if (!keep && i + 1 < form.size() && setConstant(variable, form[i + 1])) continue;
            valueOf(form, i + 1, t);
            assign(variable, t, keep);
        }
    }

    // (setq i (+ i 1)) for a name in a register: the instruction's result goes there at once.
    bool computeInPlace(const SymbolRef& variable, const Cell& cell, Register t) {
        const Place place = placeOf(code_, variable.get());
        if (place.kind != Place::Kind::local) return false;
        const Items elements = cell.items();
        if (elements.empty() || specialFormOf(elements) != SpecialForm::none) return false;
        const Intrinsic intrinsic = intrinsicOf(elements);
        if (intrinsic == Intrinsic::none || !arePure(elements.subspan(1))) return false;
        const std::size_t way = startWay(cell, t, ShortWay::Use::assign);
        shortWays()[way].slot = narrow(place.slot);
        operation(elements, intrinsic, place.slot, t);
        endWay(way);
        return true;
    }

    bool setConstant(const SymbolRef& variable, const Cell& cell) {
        const Place place = placeOf(code_, variable.get());
        const Cell* settled = settledValue(cell);
        if (place.kind != Place::Kind::local || settled == nullptr) return false;
        emit({.op = Op::setConstant, .b = narrow(place.slot), .x = constant(*settled)});
        return true;
    }

    void define(Items form, Register t, bool wanted) {
        const Place place = placeOf(code_, element(form, 1).symbolData());
        if (!wanted && form.size() > 2 && form[1].is(CellType::Symbol) && isConstant(form[2]) &&
            (place.kind == Place::Kind::local || place.kind == Place::Kind::maybe)) {
            emit({.op = Op::loadConstant,
                  .a = narrow(place.slot),
                  .x = constant(constantValue(form[2]))});
            return;
        }
        valueOf(form, 2, t);
        bindHere(element(form, 1).textAsSymbol(), t, wanted);
    }

    void defun(Items form, Register t) {
        if (form.size() < 3) return load(NilCell, t);
        const Cell named = Cell::symbol(form[1].textAsSymbol());
        const std::uint32_t x = constant(Cell::list({named, lambdaFormOfDefun(form)}));
        emit({.op = Op::makeFunction, .a = narrow(t), .x = x});
        bindHere(definedName(form[1]), t, true);
    }

    void makeLambda(const Cell& cell, Register t) {
        emit({.op = Op::makeLambda, .a = narrow(t), .x = constant(cell)});
    }

    void begin(Items form, Register t) {
        effects(form, 1, form.size() - 1, t);
        value(form.back(), t);
    }

    // --- Applications ---

    void application(const Cell& cell, Items elements, Register t) {
        const Intrinsic intrinsic = intrinsicOf(elements);
        if (intrinsic != Intrinsic::none && elements.size() - 1 <= mostArguments)
            return builtin(cell, elements, intrinsic, t);
        if (callShortly(cell, elements, t)) return;
        longWay(elements, t);
    }

    /// Head and arguments one by one, as the language has it.
    void longWay(Items form, Register t) {
        const std::size_t count = form.size() - 1;
        Label end;
        value(form[0], t);
        jumpTo(Op::checkHead, t, end);
        if (count > mostArguments) {
            use(t + 2);
            emit({Op::startArguments, narrow(t + 1)});
            for (std::size_t i = 1; i <= count; ++i) {
                value(form[i], t + 2);
                emit({Op::pushArgument, narrow(t + 1), narrow(t + 2)});
            }
            emit({Op::callSpread, narrow(t)});
        } else {
            for (std::size_t i = 1; i <= count; ++i) value(form[i], t + static_cast<Register>(i));
            emit({Op::call, narrow(t), narrow(static_cast<Register>(count))});
        }
        bind(end);
    }

    // A call of a global function whose arguments have no effects: nothing can rebind the head in
    // between, so it is looked at when the arguments are there.
    bool callShortly(const Cell& cell, Items elements, Register t) {
        const Cell& head = elements[0];
        const auto count = static_cast<Register>(elements.size() - 1);
        if (!head.is(CellType::Symbol) || count > mostArguments) return false;
        const SymbolRef function = head.textAsSymbol();
        if (placeOf(code_, function.get()).kind != Place::Kind::global) return false;
        if (!arePure(elements.subspan(1))) return false;
        use(t + count);
        const std::size_t way = startWay(cell, t, ShortWay::Use::value);
        for (Register i = 0; i < count; ++i) take(elements[i + 1], t + i);
        emit({.op = Op::callGlobal, .a = narrow(t), .b = narrow(count), .x = name(function)});
        endWay(way);
        return true;
    }

    void builtin(const Cell& cell, Items elements, Intrinsic intrinsic, Register t) {
        const std::size_t way = startWay(cell, t, ShortWay::Use::value);
        if (arePure(elements.subspan(1))) {
            operation(elements, intrinsic, t, t);
            endWay(way);
            return;
        }
        guard(intrinsic);
        const Shortcut shortcut = shortcutOf(intrinsic);
        if (shortcut.takes(elements)) {
            const auto [first, second] = impureOperands(elements, t, shortcut);
            emitOperation(shortcut, Intrinsic::none, t, first, second);
        } else {
            const auto count = static_cast<Register>(elements.size() - 1);
            for (Register i = 0; i < count; ++i) value(elements[i + 1], t + i);
            emitBuiltin(intrinsic, Intrinsic::none, t, t, count);
        }
        endWay(way);
    }

    // A test of AND whose elements look at nothing but names in registers. While there are no
    // obstacles nothing comes of evaluating them, so that the first that is false settles it.
    bool testAll(const Cell& cell, Items form, Label& label, Register t, bool jumpsIfTrue) {
        int parts = mostPartsOfATree;
        const Items elements = form.subspan(1);
        if (elements.size() < 2 || !std::ranges::all_of(elements, [&](const Cell& each) {
                return looksAtRegistersOnly(each, parts);
            }))
            return false;
        ++nesting_;
        Label general;
        Label isFalse;
        Label end;
        jumpTo(Op::ifObstacles, 0, general);
        for (const Cell& each : elements.first(elements.size() - 1))
            jumpUnless(each, jumpsIfTrue ? isFalse : label, t);
        if (jumpsIfTrue) {
            jumpIf(elements.back(), label, t);
            bind(isFalse);
        } else {
            jumpUnless(elements.back(), label, t);
        }
        jumpTo(Op::jump, 0, end);
        bind(general);
        value(cell, t);
        jumpTo(jumpsIfTrue ? Op::jumpIfTrue : Op::jumpIfFalse, t, label);
        bind(end);
        --nesting_;
        return true;
    }

    bool looksAtRegistersOnly(const Cell& cell, int& parts) const {
        if (--parts < 0) return false;
        if (cell.is(CellType::Symbol))
            return placeOf(code_, cell.symbolData()).kind == Place::Kind::local;
        const Items elements = cell.items();
        if (elements.empty()) return true;
        const SpecialForm special = specialFormOf(elements);
        if (special == SpecialForm::quote) return true;
        if (special != SpecialForm::notForm &&
            (special != SpecialForm::none || intrinsicOf(elements) == Intrinsic::none))
            return false;
        return std::ranges::all_of(elements.subspan(1), [&](const Cell& each) {
            return looksAtRegistersOnly(each, parts);
        });
    }

    void testShortly(const Cell& cell, Items elements, Intrinsic intrinsic,
                     const Shortcut& shortcut, Label& label, Register t, bool jumpsIfTrue) {
        use(t);
        const auto use = jumpsIfTrue ? ShortWay::Use::jumpIfTrue : ShortWay::Use::jumpIfFalse;
        const std::size_t way = startWay(cell, t, use);
        const bool pure = arePure(elements.subspan(1));
        if (!pure) guard(intrinsic);
        const auto [first, second] =
            pure ? pureOperands(elements, t, shortcut) : impureOperands(elements, t, shortcut);
        const bool constantSecond = second.constant != nullptr;
        Instruction jump{jumpsIfTrue
                             ? (constantSecond ? shortcut.whenConstant : shortcut.when)
                             : (constantSecond ? shortcut.unlessConstant : shortcut.unless)};
        jump.a = pure ? static_cast<std::uint16_t>(intrinsic) : 0;
        jump.b = narrow(first.where);
        if (constantSecond) jump.x = constant(*second.constant);
        else jump.c = narrow(second.where);
        wait(emit(jump), label);
        endWay(way);
    }

    // --- The short way ---

    // The intrinsic that a form's head names, unless a scope around can hold that name.
    Intrinsic intrinsicOf(Items form) const {
        const SymbolData* head = form[0].symbolData();
        if (head == nullptr || head->intrinsic == 0) return Intrinsic::none;
        if (placeOf(code_, head).kind != Place::Kind::global) return Intrinsic::none;
        return static_cast<Intrinsic>(head->intrinsic);
    }

    // Nothing but constants, variables and intrinsics of such: evaluating them changes nothing, so
    // that it can be given up half-way and begun again.
    bool arePure(Items cells) const {
        int parts = mostPartsOfATree;
        return std::ranges::all_of(cells, [&](const Cell& cell) { return isPure(cell, parts); });
    }

    bool isPure(const Cell& cell, int& parts) const {
        if (--parts < 0) return false;
        if (cell.is(CellType::Symbol))
            return placeOf(code_, cell.symbolData()).kind != Place::Kind::byName;
        const Items elements = cell.items();
        if (elements.empty()) return true;
        const SpecialForm special = specialFormOf(elements);
        if (special == SpecialForm::quote) return true;
        if (special != SpecialForm::none) return false;
        if (intrinsicOf(elements) == Intrinsic::none) return false;
        return std::ranges::all_of(elements.subspan(1),
                                   [&](const Cell& each) { return isPure(each, parts); });
    }

    // Whether evaluating `cell` surely assigns no name of this function.
    bool leavesNamesAlone(const Cell& cell, int& parts) const {
        if (--parts < 0) return false;
        const Items elements = cell.items();
        if (elements.empty()) return true;
        switch (specialFormOf(elements)) {
        case SpecialForm::quote: return true;
        case SpecialForm::setq:
        case SpecialForm::define:
        case SpecialForm::cond: return false;
        default: break;
        }
        return std::ranges::all_of(elements,
                                   [&](const Cell& each) { return leavesNamesAlone(each, parts); });
    }

    std::vector<ShortWay>& shortWays() { return block_.shortWays; }

    std::size_t startWay(const Cell& cell, Register t, ShortWay::Use use) {
        ShortWay way;
        way.first = here();
        way.form = cell;
        way.target = narrow(t);
        way.use = use;
        way.nesting = static_cast<std::uint16_t>(nesting_);
        shortWays().push_back(std::move(way));
        // The long way needs a register for the head and one for each argument, and so for each
        // form in it.
        this->use(t + longWayDepth(cell));
        return shortWays().size() - 1;
    }

    void endWay(std::size_t way) { shortWays()[way].after = here(); }

    // Registers that the long way takes beyond its first, the forms of a pure tree included.
    Register longWayDepth(const Cell& cell) const {
        int parts = 2 * mostPartsOfATree;
        return depthOf(cell, parts);
    }
    Register depthOf(const Cell& cell, int& parts) const {
        const Items elements = cell.items();
        if (elements.empty() || specialFormOf(elements) != SpecialForm::none || --parts < 0)
            return 1;
        Register most = 3;
        if (elements.size() - 1 > mostArguments) return most + 1;
        for (std::size_t i = 1; i < elements.size(); ++i)
            most = std::max(most, static_cast<Register>(i) + depthOf(elements[i], parts));
        return most + 1;
    }

    void guard(Intrinsic intrinsic) {
        emit({.op = Op::guard, .y = static_cast<std::int32_t>(intrinsic)});
    }

    // An operand of a pure tree: a constant, a name's own register, or computed into R(t).
    Operand operand(const Cell& cell, Register t, bool constantsAllowed) {
        if (const Cell* settled = constantsAllowed ? settledValue(cell) : nullptr)
            return {.constant = settled};
        if (cell.is(CellType::Symbol)) {
            const Place place = placeOf(code_, cell.symbolData());
            if (place.kind == Place::Kind::local) return {.where = place.slot};
        }
        take(cell, t);
        return {.where = t};
    }

    /// The value of a part of a pure tree into R(t).
    void take(const Cell& cell, Register t) {
        use(t);
        if (cell.is(CellType::Symbol)) return takeSymbol(cell.textAsSymbol(), t);
        if (isConstant(cell)) return load(constantValue(cell), t);
        const Items elements = cell.items();
        if (specialFormOf(elements) == SpecialForm::quote) return load(element(elements, 1), t);
        operation(elements, intrinsicOf(elements), t, t);
    }

    void takeSymbol(const SymbolRef& symbol, Register t) {
        const Place place = placeOf(code_, symbol.get());
        switch (place.kind) {
        case Place::Kind::local: emit({Op::takeLocal, narrow(t), narrow(place.slot)}); return;
        case Place::Kind::maybe: emit({Op::takeMaybe, narrow(t), narrow(place.slot)}); return;
        case Place::Kind::scope:
            emit({Op::takeScope, narrow(t), narrow(place.depth), narrow(place.slot)});
            return;
        case Place::Kind::global:
        case Place::Kind::byName:
            emit({.op = Op::takeGlobal, .a = narrow(t), .x = name(symbol)});
            return;
        }
    }

    // An intrinsic of pure operands: computes in registers from t on, the result goes to `target`.
    void operation(Items elements, Intrinsic intrinsic, Register target, Register t) {
        const Shortcut shortcut = shortcutOf(intrinsic);
        if (shortcut.takes(elements)) {
            if (onConstantFirst(elements, intrinsic, target, t)) return;
            const auto [first, second] = pureOperands(elements, t, shortcut);
            return emitOperation(shortcut, intrinsic, target, first, second);
        }
        if (elements.size() == 4 && onThree(intrinsic) != Op::jump)
            return operationOnThree(elements, intrinsic, target, t);
        if (intrinsic == Intrinsic::append && appendsAnItem(elements)) {
            const Operand list = operand(elements[1], t, false);
            const Operand item =
                operand(elements[2].items()[1], list.where == t ? t + 1 : t, false);
            emit({.op = Op::appendItem,
                  .a = narrow(target),
                  .b = narrow(list.where),
                  .c = narrow(item.where),
                  .y = appendAndList});
            return;
        }
        const auto count = static_cast<Register>(elements.size() - 1);
        for (Register i = 0; i < count; ++i) take(elements[i + 1], t + i);
        emitBuiltin(intrinsic, intrinsic, target, t, count);
    }

    // (- 1 x) and (/ 1.0 x).
    bool onConstantFirst(Items elements, Intrinsic intrinsic, Register target, Register t) {
        if (intrinsic != Intrinsic::subtract && intrinsic != Intrinsic::divide) return false;
        const Cell* settled = settledValue(elements[1]);
        if (settled == nullptr) return false;
        const Operand second = operand(elements[2], t, false);
        const Op op =
            intrinsic == Intrinsic::subtract ? Op::subtractFromConstant : Op::divideConstantBy;
        emit({op, narrow(target), narrow(second.where), 0, constant(*settled),
              static_cast<std::int32_t>(intrinsic)});
        return true;
    }

    void operationOnThree(Items elements, Intrinsic intrinsic, Register target, Register t) {
        Register where[3];
        Register next = t;
        for (std::size_t i = 0; i < 3; ++i) {
            where[i] = operand(elements[i + 1], next, false).where;
            if (where[i] == next) ++next;
        }
        emit({onThree(intrinsic), narrow(target), narrow(where[0]), narrow(where[1]), where[2],
              static_cast<std::int32_t>(intrinsic)});
    }

    // (append list (list item)): how programs of this dialect put something at the end.
    bool appendsAnItem(Items append) const {
        if (append.size() != 3) return false;
        const Items list = append[2].items();
        return list.size() == 2 && intrinsicOf(list) == Intrinsic::list;
    }

    void emitBuiltin(Intrinsic intrinsic, Intrinsic guarded, Register target, Register first,
                     Register count) {
        emit({Op::callBuiltin, narrow(target), narrow(count), narrow(first),
              static_cast<std::uint32_t>(intrinsic), static_cast<std::int32_t>(guarded)});
    }

    std::pair<Operand, Operand> pureOperands(Items elements, Register t, const Shortcut& shortcut) {
        const Operand first = operand(elements[1], t, false);
        if (shortcut.arguments == 1) return {first, {}};
        const bool firstTaken = first.where == t;
        return {first, operand(elements[2], firstTaken ? t + 1 : t, takesConstant(shortcut))};
    }

    // Operands of which some have effects, behind a guard. A name may be used where it lies only
    // if it is read before anything can put an error into the buffer, and not assigned later.
    std::pair<Operand, Operand> impureOperands(Items elements, Register t,
                                               const Shortcut& shortcut) {
        if (shortcut.arguments == 1) {
            value(elements[1], t);
            return {{.where = t}, {}};
        }
        Operand first{.where = t};
        int parts = mostPartsOfATree;
        const Place place = elements[1].is(CellType::Symbol)
                                ? placeOf(code_, elements[1].symbolData())
                                : Place{Place::Kind::byName};
        if (place.kind == Place::Kind::local && leavesNamesAlone(elements[2], parts))
            first.where = place.slot;
        else value(elements[1], t);
        if (takesConstant(shortcut))
            if (const Cell* settled = settledValue(elements[2]))
                return {first, {.constant = settled}};
        const Register next = first.where == t ? t + 1 : t;
        value(elements[2], next);
        return {first, {.where = next}};
    }

    static bool takesConstant(const Shortcut& shortcut) noexcept {
        return shortcut.withConstant != shortcut.onRegisters;
    }

    void emitOperation(const Shortcut& shortcut, Intrinsic guarded, Register target, Operand first,
                       Operand second) {
        Instruction instruction{shortcut.onRegisters, narrow(target), narrow(first.where)};
        instruction.y = static_cast<std::int32_t>(guarded);
        if (second.constant != nullptr) {
            instruction.op = shortcut.withConstant;
            instruction.x = constant(*second.constant);
        } else {
            instruction.c = narrow(second.where);
        }
        emit(instruction);
    }

    Code& code_;
    Block& block_;
    int nesting_ = 0;
    int deepest_ = 0;
};

}  // namespace

void translateForm(Code& code, const Cell& form, Ref<ScopeShape> shape) {
    code.shape = std::move(shape);
    Translator(code, *code.blocks[0]).body(form);
}

Ref<Code> translateFunction(Items parameters, const Cell& body, Ref<ScopeShape> outer) {
    Ref<Code> code = Code::make();
    const Ref<ScopeShape> shape = ScopeShape::make(std::move(outer));
    bool inOrder = true;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        code->parameterSlots.push_back(shape->add(parameters[i].textAsSymbol(), true));
        inOrder = inOrder && code->parameterSlots.back() == i;
    }
    if (inOrder) code->parameterSlots.clear();
    Survey survey(*shape);
    survey.look(body);
    code->parameters = static_cast<std::uint32_t>(parameters.size());
    code->slots = static_cast<std::uint32_t>(shape->slots().size());
    code->namesInRegisters =
        !survey.makesClosures && !survey.tooDeep && code->slots <= mostNamesInRegisters;
    code->isFunction = true;
    code->callsPlainly = code->namesInRegisters && inOrder && code->slots == code->parameters;
    code->shape = shape;
    Translator(*code, *code->blocks[0]).body(body);
    return code;
}

Block& translateDetour(Code& code, std::size_t home, ShortWay& shortWay) {
    if (shortWay.detour != 0) return *code.blocks[shortWay.detour];
    auto block = std::make_unique<Block>();
    Translator(code, *block).detour(shortWay, home);
    const auto number = static_cast<std::uint32_t>(code.blocks.size());
    code.blocks.push_back(std::move(block));
    code.detours.emplace(code.blocks.back()->instructions.data(), number);
    shortWay.detour = number;
    return *code.blocks.back();
}

namespace {

// Made when the program is loaded and not by the first who needs them, or they would be gone before
// the threads that use them.
const Cell beginSymbol = Cell::symbol(u"BEGIN");
const Cell defineSymbol = Cell::symbol(u"DEFINE");
const Cell lambdaSymbol = Cell::symbol(u"LAMBDA");
// On purpose: locals start as the integer 0, whose text is "0".
const Cell zero = Cell::integer(0, intern(u"0"));

bool endsName(char16_t unit) noexcept {
    return unit == u' ' || unit == u'\t' || unit == u'(' || unit == u')' || unit == u'/';
}

// The elements of a list of parameters that name parameters, and behind a "/" those that name locals.
struct PlainNames {
    std::size_t parameters = 0;
    std::size_t localsBegin = 0;
};

// Shortcut: a list of names that print as one word each, with at most one "/" among them and
// something behind it, is what printing and reading it again gives.
bool arePlainNames(const Cell& list, PlainNames& names) {
    if (!list.is(CellType::List)) return false;
    const Items items = list.items();
    names = {items.size(), items.size()};
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::u16string_view name = items[i].text();
        if (!items[i].is(CellType::Symbol) || name.empty()) return false;
        if (name == u"/") {
            if (names.parameters != items.size()) return false;
            names = {i, i + 1};
            continue;
        }
        if (std::ranges::any_of(name, endsName)) return false;
    }
    return names.parameters == items.size() || names.localsBegin < items.size();
}

Cell listOfNames(const std::vector<std::u16string>& names) {
    SliceBuilder<Cell> symbols(names.size());
    for (const std::u16string& name : names) symbols.push(Cell::symbol(name));
    return Cell::list(symbols.take());
}

}  // namespace

ParameterNames readParameterNames(const Cell& parameterList) {
    std::u16string printed = PrintCell(parameterList);
    for (const char16_t parenthesis : {u'(', u')'})
        if (const std::size_t at = printed.find(parenthesis); at != std::u16string::npos)
            printed.erase(at, 1);
    const std::vector<std::u16string> pieces = SplitText(printed, u"/");
    ParameterNames names;
    if (const auto first = TrimBlanks(pieces[0]); !first.empty())
        names.parameters = SplitText(first, u" ");
    // On purpose: a "/" with nothing behind it makes one local with an empty name.
    if (pieces.size() > 1) names.locals = SplitText(TrimBlanks(pieces[1]), u" ");
    return names;
}

Cell lambdaFormOfDefun(Items defun) {
    Cell parameters;
    Cell locals;
    if (PlainNames names; arePlainNames(defun[2], names)) {
        const CellSlice all = defun[2].itemSlice();
        parameters = Cell::list(all.part(0, names.parameters));
        locals = Cell::list(all.part(names.localsBegin, all.size() - names.localsBegin));
    } else {
        const ParameterNames read = readParameterNames(defun[2]);
        parameters = listOfNames(read.parameters);
        locals = listOfNames(read.locals);
    }
    SliceBuilder<Cell> body(1 + locals.items().size() + defun.size() - 3);
    body.push(beginSymbol);
    for (const Cell& local : locals.items()) body.push(Cell::list({defineSymbol, local, zero}));
    for (std::size_t i = 3; i < defun.size(); ++i) body.push(defun[i]);
    return Cell::list({lambdaSymbol, std::move(parameters), Cell::list(body.take())});
}

}  // namespace vlisp
