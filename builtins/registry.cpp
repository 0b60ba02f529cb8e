// The table of predefined names. See registry.h.
#include "builtins/registry.h"

#include "builtins/arithmetic.h"
#include "builtins/extended_lists.h"
#include "builtins/geometry.h"
#include "builtins/lists.h"
#include "builtins/strings.h"
#include "core/intrinsics.h"

#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace vlisp {
namespace {

// name, function (null: provided from above), fewest and most arguments that the check accepts,
// synopsis, help, example, what the example prints as.
//
// Notes on rows that surprise:
//  1  There is no >= here, on purpose.
//  2  EQUAL and = are one function; EQ forwards to it.
//  3  Arguments beyond the fewest are mostly accepted and ignored: APPEND joins two lists only.
// clang-format off
constexpr BuiltinRow rows[] = {
    {"APPEND", append, 1, any, "(APPEND list list)",
     "The elements of the first list followed by those of the second. Further lists are ignored.",
     "(append '(1 2) '(3))", "(1 2 3)"},
    {"CAR", car, 1, any, "(CAR list)", "The first element; nil when there is none.",
     "(car '(1 2 3))", "1"},
    {"CDR", cdr, 1, any, "(CDR list)",
     "The list without its first element; nil when nothing is left; the tail of a dotted pair.",
     "(cdr '(1 2 3))", "(2 3)"},
    {"CONS", cons, 2, any, "(CONS value list)",
     "The list with value in front. With an atom, nil included, instead of the list: a dotted pair.",
     "(cons 1 '(2 3))", "(1 2 3)"},
    {"LENGTH", length, 1, any, "(LENGTH list)", "The number of elements; 0 for an atom.",
     "(length '(a b c))", "3"},
    {"LIST", list, 0, any, "(LIST value ...)", "A list of the values.",
     "(list 1 \"a\" 2.5)", "(1 \"a\" 2.500)"},
    {"NULLP", nullp, 1, any, "(NULLP value)", "T when value has no elements: the empty list and every atom.",
     "(nullp '())", "T"},
    {"+", plus, 1, any, "(+ number ...)", "The sum; an Integer unless an argument is a Real.",
     "(+ 1 2.5)", "3.500"},
    {"-", minus, 1, any, "(- number number ...)",
     "The first number minus each of the others; a single number is its own result.",
     "(- 10 1 2)", "7"},
    {"*", times, 0, any, "(* number ...)", "The product; 1 for none.",
     "(* 6 7)", "42"},
    {"/", divide, 1, any, "(/ number number ...)",
     "The first number divided by each of the others; truncated toward zero unless an argument is a Real.",
     "(/ 7 2)", "3"},
    {">", greater, 1, any, "(> number number ...)", "T when the first number is greater than every other.",
     "(> 5 1 3)", "T"},
    {"<", less, 1, any, "(< number number ...)", "T when the first number is less than every other.",
     "(< 1 3 2)", "T"},
    {"<=", lessOrEqual, 1, any, "(<= number number ...)",
     "T when the first number is less than or equal to every other.",
     "(<= 2 2 3)", "T"},
    {"~", complement, 1, any, "(~ integer)", "The complement of the 32 bits.",
     "(~ 5)", "-6"},
    {"LISTP", listp, 1, any, "(LISTP value)", "T when value is a list, the empty one included.",
     "(listp '(1))", "T"},
    {"EQUAL", equal, 2, any, "(EQUAL value value)",
     "T when the values are equal: numbers by value, lists element by element, all else by text.",
     "(equal '(1 \"a\") '(1.0 \"a\"))", "T"},
    {"EQ", eq, 2, any, "(EQ value value)", "The same as EQUAL.",
     "(eq \"a\" \"a\")", "T"},
    {"=", equal, 2, any, "(= value value)", "The same as EQUAL.",
     "(= 2 2.0)", "T"},
    {"/=", notEqual, 2, any, "(/= value value)",
     "T when the values differ; two lists, when they have one length and every pair differs.",
     "(/= 1 2)", "T"},
    {"CADR", cadr, 1, any, "(CADR list)", "The second element; nil when there is none.",
     "(cadr '(1 2 3))", "2"},
    {"ASSOC", assoc, 2, any, "(ASSOC key list)",
     "The first sub-list whose first element has the integer value of key; texts count as 0.",
     "(assoc 8 '((0 . \"LINE\") (8 . \"WALLS\")))", "(8 . \"WALLS\")"},
    {"NTH", nth, 2, any, "(NTH index list)", "The element at the index, counted from 0; nil when there is none.",
     "(nth 1 '(a b c))", "B"},
    {"SUBST", subst, 3, any, "(SUBST new old list)", "The list with each element equal to old replaced by new.",
     "(subst 9 2 '(1 2 (2)))", "(1 9 (2))"},
    {"COMMAND", nullptr, 0, any, "(COMMAND [name value ...])",
     "Types a command and its answers at the host's command line, each a line of its own: points as "
     "lists, numbers, texts, selection sets; an empty text is Enter. Without arguments: Enter.",
     "(command \"line\" '(0 0) '(10.0 5.0) \"\")", "nil"},
    {"PRINC", nullptr, 0, any, "(PRINC [value])", "Shows value on the command line without its double quotes.",
     "(princ \"abc\")", "\"abc\""},
    {"PRINT", nullptr, 0, any, "(PRINT [value])", "Shows value with a line break before it and a blank behind it.",
     "(print 5)", "5"},
    {"PRIN1", nullptr, 0, any, "(PRIN1 [value])", "Shows value as it prints, double quotes included.",
     "(prin1 '(a \"b\"))", "(A \"b\")"},
    {"PROMPT", nullptr, 0, any, "(PROMPT [text])", "Shows text, a line for each piece between \\n.",
     "(prompt \"one\\ntwo\")", "nil"},
    {"GETPOINT", nullptr, 0, any, "(GETPOINT [point] [prompt])",
     "The point that the user gives, as (x y); a line follows the cursor from point, when given. nil "
     "when there is none.",
     "(getpoint \"First corner: \")", "(10.000 20.000)"},
    {"GETDIST", nullptr, 0, any, "(GETDIST [prompt])",
     "The distance that the user types, or that between two points given.",
     "(getdist \"Radius: \")", "5.000"},
    {"GETSTRING", nullptr, 0, any, "(GETSTRING [prompt])", "The line that the user types.",
     "(getstring \"Name: \")", "\"12\""},
    {"GETREAL", nullptr, 0, any, "(GETREAL [prompt])",
     "The number that the user types, as a Real; 0.0 for what is no number.",
     "(getreal \"Height: \")", "12.000"},
    {"GETINT", nullptr, 0, any, "(GETINT [prompt])",
     "The number that the user types, as an Integer; 0 for what is no number.",
     "(getint \"How many: \")", "12"},
    {"GETVAR", nullptr, 1, 1, "(GETVAR name)", "The value of a system variable; nil when there is none.",
     "(getvar \"CLAYER\")", "\"0\""},
    {"SETVAR", nullptr, 2, 2, "(SETVAR name value)",
     "Sets a system variable; T when the host took the value.",
     "(setvar \"CLAYER\" \"0\")", "T"},
    {"ENTNEXT", nullptr, 0, any, "(ENTNEXT [entity])",
     "The first entity of the drawing, or the one after entity; nil at the end.",
     "(assoc 0 (entget (entnext)))", "(0 . \"LINE\")"},
    {"ENTLAST", nullptr, 0, any, "(ENTLAST)", "The last entity of the drawing; nil when it is empty.",
     "(assoc 8 (entget (entlast)))", "(8 . \"0\")"},
    {"ENTGET", nullptr, 1, any, "(ENTGET entity)",
     "The entity as a list of group codes and values; nil when there is none.",
     "(assoc 10 (entget (entlast)))", "(10 0.000 0.000 0.000)"},
    {"ENTMOD", nullptr, 1, any, "(ENTMOD list)",
     "Writes a list such as ENTGET gives back into the entity that it names; always nil.",
     "(entmod (entget (entlast)))", "nil"},
    {"ENTSEL", nullptr, 0, any, "(ENTSEL [prompt])",
     "The entity that the user picks and the point picked, as (entity (x y 0.0)); nil when none is hit.",
     "(cadr (entsel \"Line: \"))", "(10.000 20.000 0.000)"},
    {"REDRAW", nullptr, 0, any, "(REDRAW)", "Regenerates the drawing.",
     "(redraw)", "nil"},
    {"SSGET", nullptr, 0, any, "(SSGET [\"X\" [filter]]) or (SSGET [prompt])",
     "A selection set: with \"X\" all entities, or those whose lists have every pair of filter; "
     "otherwise what the user selects, nil when that is nothing.",
     "(sslength (ssget \"X\"))", "1"},
    {"SSDEL", nullptr, 2, 2, "(SSDEL entity set)", "Takes entity out of the set.",
     "(sslength (ssdel (entlast) (ssget \"X\")))", "0"},
    {"SSADD", nullptr, 1, any, "(SSADD entity [set])", "Adds entity to the set, or to a new one.",
     "(sslength (ssadd (entlast)))", "1"},
    {"SSNAME", nullptr, 2, 2, "(SSNAME set index)",
     "The entity at the index of the set, counted from 0; nil when there is none.",
     "(assoc 0 (entget (ssname (ssget \"X\") 0)))", "(0 . \"LINE\")"},
    {"SSLENGTH", nullptr, 1, 1, "(SSLENGTH set)", "The number of entities in the set.",
     "(sslength (ssget \"X\" '((0 . \"LINE\"))))", "1"},
    {"POLAR", polar, 3, any, "(POLAR point angle distance)",
     "The point at the distance from point in the direction of the angle (radians).",
     "(polar '(1 1) 0 2)", "(3.000 1.000)"},
    {"SQRT", sqrtOf, 1, any, "(SQRT number)", "The square root.",
     "(sqrt 2)", "1.414"},
    {"SIN", sinOf, 1, any, "(SIN angle)", "The sine of an angle in radians.",
     "(sin (/ pi 2))", "1.000"},
    {"COS", cosOf, 1, any, "(COS angle)", "The cosine of an angle in radians.",
     "(cos 0)", "1.000"},
    {"ATAN", atanOf, 1, any, "(ATAN y [x])", "The arc tangent of y, or the angle of the direction (x, y).",
     "(atan 1 -1)", "2.356"},
    {"ANGLE", angle, 2, any, "(ANGLE point point)",
     "The direction from the first point to the second, in radians from -pi to pi.",
     "(angle '(0 0) '(-1 -1))", "-2.356"},
    {"DISTANCE", distance, 2, any, "(DISTANCE point point)", "The distance in the plane; Z is ignored.",
     "(distance '(0 0) '(3 4))", "5.000"},
    {"INTERS", inters, 4, any, "(INTERS p1 p2 p3 p4)",
     "Where the segments p1-p2 and p3-p4 meet; (0.0 0.0) when they do not.",
     "(inters '(0 0) '(2 2) '(0 2) '(2 0))", "(1.000 1.000)"},
    {"STRCAT", strcatOf, 0, any, "(STRCAT value ...)", "The values joined into one text; what is not a text is printed.",
     "(strcat \"a\" 1 \"b\")", "\"a1b\""},
    {"SUBSTR", substr, 2, any, "(SUBSTR text start [length])",
     "The part of text from start, counted from 1, to its end or of the length.",
     "(substr \"abcdef\" 2 3)", "\"bcd\""},
    {"STRLEN", strlenOf, 1, 1, "(STRLEN text)", "The length of text.",
     "(strlen \"abc\")", "3"},
    {"STRCASE", strcase, 1, any, "(STRCASE text [lower])", "The text in upper case, or in lower case when lower is T.",
     "(strcase \"aGe\")", "\"AGE\""},
    {"WCMATCH", wcmatch, 2, any, "(WCMATCH text pattern)",
     "T when the whole text matches one of the pattern's alternatives: # digit, @ letter, . other, "
     "? any, * any number, [abc] one of, [~abc] none of, ` takes the next literally, "
     "the comma separates alternatives.",
     "(wcmatch \"WALL-12\" \"WALL*,DOOR*\")", "T"},
    {"TBLNEXT", nullptr, 1, any, "(TBLNEXT \"BLOCK\" [rewind])",
     "The next block of the drawing as a list of group codes and values, or with rewind the first; nil "
     "after the last.",
     "(assoc 2 (tblnext \"BLOCK\" T))", "(2 . \"BOLT\")"},
    {"ITOA", itoa, 1, 1, "(ITOA integer)", "The integer as a text.",
     "(itoa -12)", "\"-12\""},
    {"ATOI", atoi, 1, 1, "(ATOI text)", "The integer at the front of text; 0 when there is none.",
     "(atoi \"12abc\")", "12"},
    {"LOGAND", logand, 0, any, "(LOGAND integer ...)", "The bits that are set in every integer.",
     "(logand 12 10)", "8"},
    {"LOGIOR", logior, 0, any, "(LOGIOR integer ...)", "The bits that are set in any integer.",
     "(logior 1 2 4)", "7"},
    {"MEMBER", member, 2, any, "(MEMBER value list)",
     "The list from its first element equal to value; an empty list when there is none.",
     "(member 2 '(1 2 3))", "(2 3)"},
    {"REVERSE", reverse, 1, any, "(REVERSE list)", "The elements in reverse order.",
     "(reverse '(1 2 3))", "(3 2 1)"},
    {"LAST", last, 1, any, "(LAST list)", "The last element; nil when there is none.",
     "(last '(1 2 3))", "3"},
    {"VL-REMOVE", vlRemove, 2, any, "(VL-REMOVE value list)", "The list without the elements equal to value.",
     "(vl-remove 2 '(1 2 3 2))", "(1 3)"},
    {"VL-REMOVE-NTH", vlRemoveNth, 2, any, "(VL-REMOVE-NTH index list)",
     "The list without the element at the index, counted from 0.",
     "(vl-remove-nth 0 '(a b c))", "(B C)"},
    {"VL-REMOVE-IF", vlRemoveIf, 2, any, "(VL-REMOVE-IF predicate list)",
     "The elements for which the predicate, a lambda expression, gives nil. Its body sees its "
     "parameter and global names only.",
     "(vl-remove-if '(lambda (x) (> x 2)) '(1 2 3 4))", "(1 2)"},
    {"VM-REFRESH", nullptr, 0, any, "(VM-REFRESH)", "Repaints the drawing's view.",
     "(vm-refresh)", "nil"},
    {"VM-WAIT", nullptr, 1, any, "(VM-WAIT milliseconds)", "Waits; the number must be an Integer.",
     "(vm-wait 10)", "nil"},
    {"VM-ENTEXT", nullptr, 1, any, "(VM-ENTEXT entity)",
     "The rectangle around entity: left, bottom, right, top.",
     "(vm-entext (entlast))", "(0.000 0.000 10.000 5.000)"},
};
// clang-format on

std::u16string wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// Finds what is provided for a row. Rows and what is provided stand in much the same order, so the
// search goes on behind what was found last.
class Provided {
  public:
    explicit Provided(std::span<const ProvidedBuiltin> builtins) : builtins_(builtins) {}

    BuiltinProc procOf(const BuiltinRow& row) {
        if (row.proc != nullptr) return row.proc;
        for (std::size_t passed = 0; passed < builtins_.size(); ++passed) {
            if (next_ >= builtins_.size()) next_ = 0;
            const ProvidedBuiltin& candidate = builtins_[next_++];
            if (std::strcmp(candidate.name, row.name) == 0) return candidate.proc;
        }
        return nullptr;
    }

  private:
    std::span<const ProvidedBuiltin> builtins_;
    std::size_t next_ = 0;
};

// What the machine does itself as long as the name is bound to the built-in.
constexpr std::pair<Intrinsic, const char*> intrinsicNames[] = {
    {Intrinsic::add, "+"},           {Intrinsic::subtract, "-"},
    {Intrinsic::multiply, "*"},      {Intrinsic::divide, "/"},
    {Intrinsic::less, "<"},          {Intrinsic::greater, ">"},
    {Intrinsic::lessOrEqual, "<="},  {Intrinsic::equalSign, "="},
    {Intrinsic::equal, "EQUAL"},     {Intrinsic::eq, "EQ"},
    {Intrinsic::notEqual, "/="},     {Intrinsic::car, "CAR"},
    {Intrinsic::cdr, "CDR"},         {Intrinsic::cadr, "CADR"},
    {Intrinsic::nth, "NTH"},         {Intrinsic::cons, "CONS"},
    {Intrinsic::length, "LENGTH"},   {Intrinsic::nullp, "NULLP"},
    {Intrinsic::listp, "LISTP"},     {Intrinsic::append, "APPEND"},
    {Intrinsic::list, "LIST"},       {Intrinsic::assoc, "ASSOC"},
    {Intrinsic::subst, "SUBST"},     {Intrinsic::reverse, "REVERSE"},
    {Intrinsic::last, "LAST"},       {Intrinsic::removeNth, "VL-REMOVE-NTH"},
    {Intrinsic::logand, "LOGAND"},   {Intrinsic::logior, "LOGIOR"},
    {Intrinsic::complement, "~"},    {Intrinsic::strcat, "STRCAT"},
    {Intrinsic::substr, "SUBSTR"},   {Intrinsic::strlen, "STRLEN"},
    {Intrinsic::strcase, "STRCASE"}, {Intrinsic::wcmatch, "WCMATCH"},
    {Intrinsic::itoa, "ITOA"},       {Intrinsic::atoi, "ATOI"},
    {Intrinsic::sqrt, "SQRT"},       {Intrinsic::sin, "SIN"},
    {Intrinsic::cos, "COS"},         {Intrinsic::atan, "ATAN"},
    {Intrinsic::angle, "ANGLE"},     {Intrinsic::distance, "DISTANCE"},
    {Intrinsic::polar, "POLAR"},     {Intrinsic::inters, "INTERS"},
};

constexpr std::size_t rowCount = std::size(rows);

// The row of a name; rowCount when there is none.
constexpr std::size_t rowOf(std::string_view name) noexcept {
    std::size_t row = 0;
    while (row < rowCount && name != rows[row].name) ++row;
    return row;
}

// For each row what the machine does itself of it. Made by the compiler: to search at every start
// takes as long as to register.
constexpr std::array<Intrinsic, rowCount> intrinsicOfRow = [] {
    std::array<Intrinsic, rowCount> all{};
    for (const auto& [intrinsic, name] : intrinsicNames) all[rowOf(name)] = intrinsic;
    return all;
}();

}  // namespace

void RegisterBuiltins(Environment& global, std::span<const ProvidedBuiltin> provided) {
    // "nil" is bound twice; the second binding stays. Source text never reaches it: the reader
    // makes NIL of it, which stays unbound on purpose.
    global.Bind(intern(u"nil"), NilCell);
    global.Bind(intern(u"nil"), FalseCell);
    global.Bind(intern(u"T"), TrueCell);
    global.Bind(intern(u"."), DotCell);
    Provided fromAbove(provided);
    for (std::size_t i = 0; i < rowCount; ++i) {
        const BuiltinRow& row = rows[i];
        const BuiltinProc proc = fromAbove.procOf(row);
        if (proc == nullptr) continue;
        const std::u16string name = wide(row.name);
        if (intrinsicOfRow[i] != Intrinsic::none)
            intrinsics::declare(intrinsicOfRow[i], name, row.proc);
        global.Bind(intern(name), Cell::builtin(proc));
    }
    global.Bind(intern(u"PI"), Cell::real(3.141592653589793));
}

std::span<const BuiltinRow> builtinRows() noexcept { return rows; }

const BuiltinRow* findBuiltin(std::string_view name) noexcept {
    const std::size_t row = rowOf(name);
    return row < rowCount ? &rows[row] : nullptr;
}

}  // namespace vlisp
