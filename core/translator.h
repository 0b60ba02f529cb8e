// The translator: forms to code.
// One idea: special forms and names are settled once, from the text; whatever a program can change
// while it runs is left to the instructions to find out.
// Tests: tests/core/translator_test.cpp, tests/reference/.
#pragma once

#include "core/code.h"

#include <string>
#include <vector>

namespace vlisp {

/// Translates `form` into `code`, which must be empty, to be run in a scope of this shape; null is
/// the global one. Throws heap::OutOfMemory. Linear in the form's size; recursion is bounded.
void translateForm(Code& code, const Cell& form, Ref<ScopeShape> shape);

/// The code of a function with these parameters whose closures' scope has the shape `outer`.
Ref<Code> translateFunction(Items parameters, const Cell& body, Ref<ScopeShape> outer);

/// Translates the long way of a form that block `home` of `code` carries out the short way, unless
/// that has been done; returns its block.
Block& translateDetour(Code& code, std::size_t home, ShortWay& shortWay);

/// The names of a parameter list as DEFUN reads them: not from its cells but from its printed text,
/// so that whatever prints oddly is named oddly.
struct ParameterNames {
    std::vector<std::u16string> parameters;
    std::vector<std::u16string> locals;
};
[[nodiscard]] ParameterNames readParameterNames(const Cell& parameterList);

/// The LAMBDA form that the DEFUN form of these elements (three at least) makes.
[[nodiscard]] Cell lambdaFormOfDefun(Items defun);

}  // namespace vlisp
