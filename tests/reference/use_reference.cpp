// Linked into a program, makes it evaluate with the literal evaluator from its start.
#include "core/evaluator.h"
#include "tests/reference/evaluator.h"

namespace {
[[maybe_unused]] const bool installed = (vlisp::setEvaluator(vlisp::reference::Eval), true);
}
