// The literal evaluator. See evaluator.h.
#include "tests/reference/evaluator.h"

#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/printer.h"
#include "core/reader.h"
#include "platform/system.h"

#include <array>
#include <vector>

namespace vlisp::reference {
namespace {

// A form being evaluated: its elements, and where and under which error buffer. The elements stay
// valid as long as the cell that the form was read from lives.
struct Form {
    const Cell& cell;
    Items elements;
    Environment& scope;
    ErrorBuffer& error;

    [[nodiscard]] std::size_t size() const noexcept { return elements.size(); }

    /// Element i, or nil where the form is too short.
    [[nodiscard]] const Cell& element(std::size_t i) const noexcept {
        return i < size() ? elements[i] : NilCell;
    }

    /// The value of element i, nil where the form is too short.
    Cell value(std::size_t i) const {
        return i < size() ? reference::Eval(elements[i], scope, error) : NilCell;
    }

    /// Evaluates elements `from` to the end in order and returns the last value.
    Cell valueOfRest(std::size_t from, Cell ifNone) const {
        for (std::size_t i = from; i < size(); ++i) ifNone = value(i);
        return ifNone;
    }
};

Cell quote(const Form& form) { return form.element(1); }

Cell ifForm(const Form& form) {
    if (IsFalse(form.value(1))) return form.value(3);
    return form.value(2);
}

Cell cond(const Form& form) {
    Cell remembered;
    for (std::size_t i = 1; i < form.size(); ++i) {
        const Form clause{form.elements[i], form.elements[i].items(), form.scope, form.error};
        remembered = clause.value(0);
        const bool success = !IsFalse(remembered);
        for (std::size_t k = 1; k < clause.size(); ++k)
            remembered =
                success ? clause.value(k) : reference::Eval(NilCell, form.scope, form.error);
        if (success) break;
    }
    return remembered;
}

Cell notForm(const Form& form) {
    if (form.size() < 2) return NilCell;
    return IsFalse(form.value(1)) ? TrueCell : NilCell;
}

// On purpose: the outcome follows the first argument alone; the others are evaluated for their
// effects.
Cell orForm(const Form& form) {
    const bool isFalse = IsFalse(form.value(1));
    for (std::size_t i = 2; i < form.size(); ++i) form.value(i);
    return isFalse ? NilCell : TrueCell;
}

// On purpose: all arguments are evaluated; nothing is cut short.
Cell andForm(const Form& form) {
    bool isFalse = IsFalse(form.value(1));
    for (std::size_t i = 2; i < form.size(); ++i)
        if (IsFalse(form.value(i))) isFalse = true;
    return isFalse ? NilCell : TrueCell;
}

Cell whileForm(const Form& form) {
    while (!IsFalse(form.value(1)) && !interruption::pending()) form.valueOfRest(2, NilCell);
    return NilCell;
}

Cell repeat(const Form& form) {
    const Cell count = form.value(1);
    Cell result = NilCell;
    if (!count.is(CellType::Integer)) return result;
    for (std::int32_t i = 0; i < count.intValue() && !interruption::pending(); ++i)
        result = form.valueOfRest(2, NilCell);
    return result;
}

void assign(SymbolRef name, const Cell& value, Environment& scope, ErrorBuffer& error) {
    Environment& holder = FindScope(scope, name.get(), error);
    holder.Bind(std::move(name), value);
    // On purpose: this discards the message of a first assignment, and any that evaluating the
    // value left: (setq x nil) is how programs write "x is false".
    error.clear();
}

Cell setq(const Form& form) {
    Cell last;
    for (std::size_t i = 1; i < form.size(); i += 2) {
        last = form.value(i + 1);
        if (interruption::pending()) break;
        assign(form.elements[i].textAsSymbol(), last, form.scope, form.error);
    }
    return last;
}

Cell define(const Form& form) {
    Cell value = form.value(2);
    if (interruption::pending()) return NilCell;
    form.scope.Bind(form.element(1).textAsSymbol(), value);
    return value;
}

Cell lambda(const Form& form) {
    return Cell::lambda(form.cell.itemSlice(), &form.scope, intern(form.cell.text()));
}

Cell begin(const Form& form) {
    for (std::size_t i = 1; i + 1 < form.size(); ++i) form.value(i);
    return form.value(form.size() - 1);
}

// The names of a parameter list as DEFUN reads them: not from its cells but from its printed text,
// so that whatever prints oddly is named oddly.
struct ParameterNames {
    std::vector<std::u16string> parameters;
    std::vector<std::u16string> locals;
};

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

// The name that a DEFUN binds. A "C:" name is registered with the host on the way.
SymbolRef nameForDefun(const Cell& nameElement) {
    std::u16string_view name = nameElement.text();
    if (!name.starts_with(u"C:")) return nameElement.textAsSymbol();
    name.remove_prefix(2);
    if (HostPort* port = commandPort()) port->addCommand(name, u"(" + std::u16string(name) + u")");
    return intern(name);
}

Cell defun(const Form& form) {
    if (form.size() < 3) return NilCell;
    const SymbolRef name = nameForDefun(form.elements[1]);
    const ParameterNames names = readParameterNames(form.elements[2]);

    SliceBuilder<Cell> parameters(names.parameters.size());
    for (const std::u16string& parameter : names.parameters)
        parameters.push(Cell::symbol(parameter));

    SliceBuilder<Cell> body(1 + names.locals.size() + form.size() - 3);
    body.push(Cell::symbol(u"BEGIN"));
    // On purpose: locals start as the integer 0, whose text is "0".
    const Cell zero = Cell::integer(0, intern(u"0"));
    for (const std::u16string& local : names.locals)
        body.push(Cell::list({Cell::symbol(u"DEFINE"), Cell::symbol(local), zero}));
    for (std::size_t i = 3; i < form.size(); ++i) body.push(form.elements[i]);

    const Cell lambdaForm = Cell::list(
        {Cell::symbol(u"LAMBDA"), Cell::list(parameters.take()), Cell::list(body.take())});
    Cell function = Cell::lambda(lambdaForm.itemSlice(), &form.scope, name);
    form.scope.Bind(name, function);
    return function;
}

Cell applyLambda(const Cell& function, Arguments arguments, ErrorBuffer& error) {
    const Items form = function.items();
    const Items parameters = form.size() > 1 ? form[1].items() : Items();
    const CallScope scope(Environment::make(parameters, arguments, function.env()));
    // On purpose: only the third element is evaluated; a LAMBDA with several body forms runs the
    // first alone.
    return form.size() > 2 ? reference::Eval(form[2], *scope, error) : NilCell;
}

Cell apply(const Form& form) {
    Cell head = form.value(0);
    if (!form.error.empty()) return NilCell;
    std::vector<Cell> arguments;
    arguments.reserve(form.size() - 1);
    for (std::size_t i = 1; i < form.size(); ++i) arguments.push_back(form.value(i));
    if (interruption::pending()) return NilCell;
    switch (head.type()) {
    case CellType::Lambda: return applyLambda(head, arguments, form.error);
    case CellType::Proc: return head.proc()(arguments);
    case CellType::Integer:
    case CellType::Real:
    case CellType::String:
    case CellType::EntityName:
    case CellType::SelectionSet: return head;
    case CellType::Symbol:
    case CellType::List: break;
    }
    form.error.reportNotAFunction();
    return NilCell;
}

// In the order of SpecialForm, without its `none`.
constexpr std::array<Cell (*)(const Form&), 13> formEvaluators = {
    quote,  ifForm, cond,   notForm, orForm, andForm, whileForm,
    repeat, setq,   define, defun,   lambda, begin};
static_assert(static_cast<std::size_t>(SpecialForm::begin) == formEvaluators.size());

Cell evaluateForm(const Cell& cell, Items elements, Environment& scope, ErrorBuffer& error) {
    const Form form{cell, elements, scope, error};
    const SymbolData* head = elements[0].symbolData();
    if (head == nullptr || head->specialForm == SpecialForm::none) return apply(form);
    return formEvaluators[static_cast<std::size_t>(head->specialForm) - 1](form);
}

Cell lookUp(const Cell& cell, Environment& scope, ErrorBuffer& error) {
    Cell* value = nullptr;
    FindScope(scope, cell.symbolData(), error, &value);
    // The buffer is tested, not the search: under an error every symbol is nil, bound or not.
    return error.empty() ? *value : NilCell;
}

}  // namespace

Cell Eval(const Cell& cell, Environment& scope, ErrorBuffer& error) {
    switch (cell.type()) {
    case CellType::Integer:
    case CellType::Real:
    case CellType::String:
    case CellType::EntityName:
    case CellType::SelectionSet: return cell;
    case CellType::Symbol: return lookUp(cell, scope, error);
    case CellType::List:
    case CellType::Proc:
    case CellType::Lambda: break;
    }
    if (interruption::pending()) return NilCell;
    const Items elements = cell.items();
    if (elements.empty()) return NilCell;
    if (platform::stackIsLow()) {
        interruption::request(interruption::Reason::tooDeep);
        return NilCell;
    }
    return evaluateForm(cell, elements, scope, error);
}

}  // namespace vlisp::reference
