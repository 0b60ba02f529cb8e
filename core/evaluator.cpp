// Evaluating: a form is translated and run. See evaluator.h; translator.h and machine.h do the work.
#include "core/evaluator.h"

#include "core/code_cache.h"
#include "core/interruption.h"
#include "core/intrinsics.h"
#include "core/machine.h"
#include "core/translator.h"
#include "platform/system.h"

#include <array>
#include <string>

namespace vlisp {
namespace {

EvalProc otherEvaluator = nullptr;
HostPort* port = nullptr;

struct SpecialFormRow {
    SpecialForm id;
    SpecialFormHelp help;
};

// clang-format off
constexpr std::array<SpecialFormRow, 13> rows{{
    {SpecialForm::quote,
     {"QUOTE", "(QUOTE value) or 'value", "The value itself, unevaluated.",
      "'(a b)", "(A B)"}},
    {SpecialForm::ifForm,
     {"IF", "(IF test then [else])", "Evaluates then when test is true, else otherwise.",
      "(if (< 1 2) \"less\" \"more\")", "\"less\""}},
    {SpecialForm::cond,
     {"COND", "(COND (test value ...) ...)",
      "The last value of the first clause whose test is true.",
      "(cond ((< 2 1) \"a\") (T \"b\"))", "\"b\""}},
    {SpecialForm::notForm,
     {"NOT", "(NOT value)", "T when value is false, nil otherwise.",
      "(not (< 2 1))", "T"}},
    {SpecialForm::orForm,
     {"OR", "(OR value ...)",
      "T when the first value is true. The others are evaluated but do not count.",
      "(or T (< 2 1))", "T"}},
    {SpecialForm::andForm,
     {"AND", "(AND value ...)", "T when all values are true. All are evaluated.",
      "(and (< 1 2) (< 2 3))", "T"}},
    {SpecialForm::whileForm,
     {"WHILE", "(WHILE test form ...)",
      "Evaluates the forms as long as test is true. The result is nil.",
      "(while (< 2 1) 5)", "nil"}},
    {SpecialForm::repeat,
     {"REPEAT", "(REPEAT count form ...)",
      "Evaluates the forms count times; count must be an integer. The result is the last value.",
      "(repeat 3 7)", "7"}},
    {SpecialForm::setq,
     {"SETQ", "(SETQ name value ...)",
      "Assigns each value to its name, where the name is bound or else globally, and empties the "
      "error buffer. The result is the last value.",
      "(setq a 1 b 2)", "2"}},
    {SpecialForm::define,
     {"DEFINE", "(DEFINE name value)", "Binds name to value in the current scope.",
      "(define a (+ 1 2))", "3"}},
    {SpecialForm::defun,
     {"DEFUN", "(DEFUN name (parameter ... [/ local ...]) form ...)",
      "Defines a function. Locals start as 0. A name that begins with C: also becomes a command "
      "of the host, without the C:.",
      "(defun double (x) (* 2 x))", "DOUBLE"}},
    {SpecialForm::lambda,
     {"LAMBDA", "(LAMBDA (parameter ...) form)",
      "A function without a name. Only one form is evaluated when it is called.",
      "((lambda (x) (* 2 x)) 4)", "8"}},
    {SpecialForm::begin,
     {"BEGIN", "(BEGIN form ...)", "Evaluates the forms in order. The result is the last value.",
      "(begin 1 2 3)", "3"}},
}};
// clang-format on

static_assert([] {
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (static_cast<std::size_t>(rows[i].id) != i + 1) return false;
    return true;
}());

constexpr std::array<SpecialFormHelp, 13> helpRows = [] {
    std::array<SpecialFormHelp, 13> help{};
    for (std::size_t i = 0; i < rows.size(); ++i) help[i] = rows[i].help;
    return help;
}();

// Marks the thirteen names, and holds them so that the marks stay.
struct SpecialFormNames {
    SpecialFormNames() {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::string_view name(rows[i].help.name);
            names[i] = intern(std::u16string(name.begin(), name.end()));
            names[i]->specialForm = rows[i].id;
        }
    }
    std::array<SymbolRef, rows.size()> names;
};
const SpecialFormNames specialFormNames;

}  // namespace

Cell Eval(const Cell& cell, Environment& scope, ErrorBuffer& error) {
    if (otherEvaluator != nullptr) return otherEvaluator(cell, scope, error);
    switch (cell.type()) {
    case CellType::Integer:
    case CellType::Real:
    case CellType::String:
    case CellType::EntityName:
    case CellType::SelectionSet: return cell;
    case CellType::Symbol: {
        Cell* value = nullptr;
        FindScope(scope, cell.symbolData(), error, &value);
        // The buffer is tested, not the search: under an error every symbol is nil, bound or not.
        return error.empty() ? *value : NilCell;
    }
    case CellType::List:
    case CellType::Proc:
    case CellType::Lambda: break;
    }
    if (cell.items().empty() || interruption::pending()) return NilCell;
    // Programs recurse on the machine's stack; built-ins that evaluate, on the thread's.
    if (platform::stackIsLow()) {
        interruption::request(interruption::Reason::tooDeep);
        return NilCell;
    }
    const MachineLease machine;
    const ErrorInForce inForce(error);
    Code& code = machine->scratch();
    translateForm(code, cell, shapeAround(scope));
    return machine->run(code, scope, {}, error);
}

struct FunctionBody::Prepared {
    Ref<Code> code;
    MachineLease machine;
    ErrorBuffer dropped;
    ErrorInForce inForce{dropped};
};

FunctionBody::FunctionBody(const Cell& form) : form_(form) {
    if (otherEvaluator != nullptr) return;
    if (platform::stackIsLow()) interruption::request(interruption::Reason::tooDeep);
    prepared_ = std::make_unique<Prepared>();
    prepared_->code = codeOf(form.itemSlice(), {});
}

FunctionBody::~FunctionBody() = default;

Cell FunctionBody::operator()(Arguments arguments) {
    Environment& global = GlobalEnvironment();
    if (prepared_ == nullptr) {
        ErrorBuffer dropped;
        const CallScope scope(Environment::make(form_.items()[1].items(), arguments, &global));
        return Eval(form_.items()[2], *scope, dropped);
    }
    if (interruption::pending()) return NilCell;
    if (!prepared_->dropped.empty()) {
        prepared_->dropped.clear();
        intrinsics::obstacles &= ~intrinsics::errorObstacle;
    }
    Machine& machine = *prepared_->machine;
    Cell value;
    switch (machine.runNatively(*prepared_->code, global, arguments, value)) {
    case Machine::Native::done: return value;
    case Machine::Native::begun: return machine.finish(value, prepared_->dropped);
    case Machine::Native::refused: break;
    }
    return machine.run(*prepared_->code, global, arguments, prepared_->dropped);
}

void setEvaluator(EvalProc other) noexcept { otherEvaluator = other; }

SymbolRef registeredName(const Cell& nameElement) {
    std::u16string_view name = nameElement.text();
    if (!name.starts_with(u"C:")) return nameElement.textAsSymbol();
    name.remove_prefix(2);
    if (port != nullptr) port->addCommand(name, u"(" + std::u16string(name) + u")");
    return intern(name);
}

void setCommandPort(HostPort* given) noexcept { port = given; }
HostPort* commandPort() noexcept { return port; }

std::span<const SpecialFormHelp> specialForms() noexcept { return helpRows; }

}  // namespace vlisp
