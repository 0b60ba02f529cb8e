// The session's operations. See session.h.
#include "core/session.h"

#include "core/evaluator.h"
#include "core/interruption.h"
#include "core/printer.h"
#include "core/scope_collector.h"
#include "platform/system.h"
#include "platform/text.h"

#include <cassert>
#include <random>
#include <stdexcept>
#include <system_error>

namespace vlisp {
namespace {

bool leavesAll = false;

// The first random number of a generator seeded with `seed`, in 0 to 32767 on every system.
std::uint32_t firstRandomNumber(std::uint32_t seed) {
    return static_cast<std::uint32_t>(std::minstd_rand(seed)() % 32768);
}

// A part of a path as the announcement holds it: 260 units with the terminating zero.
std::u16string_view pathComponent(const std::u16string& part) {
    return std::u16string_view(part).substr(0, lengthThatFits(part, 259));
}

// Calls `work`; what ends it from outside LISP becomes an error text. False when something did.
template <class Work> bool guarded(ErrorBuffer& error, Work work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        interruption::request(interruption::Reason::outOfMemory);
    } catch (const std::length_error&) {  // a container's own limit
        interruption::request(interruption::Reason::outOfMemory);
    } catch (const std::system_error&) {  // no thread to be had
        interruption::request(interruption::Reason::outOfMemory);
    }
    const interruption::Reason why = interruption::take();
    if (why == interruption::Reason::none) return true;
    error.report(interruption::message(why));
    return false;
}

}  // namespace

InterpreterSession::InterpreterSession(SessionParts parts)
    : parts_(std::move(parts)), global_(Environment::make(nullptr)) {
    setGlobalEnvironment(global_.get());
    setCommandPort(&parts_.host);
}

void InterpreterSession::leaveAllAtTheEnd() noexcept { leavesAll = true; }

InterpreterSession::~InterpreterSession() {
    // Where leaks are looked for, nothing is left.
    if (leavesAll && small_blocks::areUsed) {
        setCommandPort(nullptr);
        global_.detach();
        return;
    }
    scope_collector::clearAll();
    setCommandPort(nullptr);
    setGlobalEnvironment(nullptr);
}

void InterpreterSession::StartInterpreter(std::uint32_t ticks) {
    EntityNameBase = (firstRandomNumber(ticks) + 1000) * 1000;
    parts_.registerBuiltins(*global_);
    ErrorBuffer dropped;
    evaluate(parts_.prelude, dropped);
}

Cell InterpreterSession::evaluate(std::u16string_view text, ErrorBuffer& error, bool* interrupted) {
    Cell value = NilCell;
    const bool finished = guarded(error, [&] { value = Eval(Parse(text), *global_, error); });
    if (interrupted != nullptr) *interrupted = !finished;
    return value;
}

LoadReport InterpreterSession::LoadLispFile(const std::u16string& path) {
    return load(path, [&](std::u16string& source) {
        std::string bytes;
        std::string reason;
        if (platform::readFile(platform::toUtf8(path), bytes, reason))
            source = platform::fromUtf8(bytes);
        return std::u16string_view(source);
    });
}

LoadReport InterpreterSession::loadLispText(const std::u16string& path,
                                            std::u16string_view source) {
    return load(path, [&](std::u16string&) { return source; });
}

LoadReport
InterpreterSession::load(const std::u16string& path,
                         const std::function<std::u16string_view(std::u16string&)>& read) {
    LoadReport report;
    ErrorBuffer error;
    std::u16string source;
    std::u16string_view text;
    // What ends the reading ends the load: nothing is evaluated then.
    if (!guarded(error, [&] { text = read(source); })) text = {};

    const platform::PathParts parts = platform::splitPath(path);
    std::u16string announcement(pathComponent(parts.name));
    announcement += pathComponent(parts.extension);
    announcement += u" successfully loaded.";
    parts_.host.sendMessage(announcement);

    // On purpose: one buffer for all expressions, not emptied between them.
    SourceSplitter splitter(text);
    SourceExpression expression;
    for (bool more = true; more;) {
        const std::uint64_t before = error.reports();
        bool interrupted = false;
        const bool cut = guarded(error, [&] {
            more = splitter.next(expression);
            if (more) evaluate(expression.text, error, &interrupted);
        });
        if (error.reports() != before) report.line = expression.line;
        if (!cut || interrupted) break;
    }
    report.errorText = error.text();
    if (error.empty()) report.line = 0;
    parts_.host.sendEvalDone(report.errorText);
    return report;
}

void InterpreterSession::LoadLispFileQuietly(ErrorBuffer& error) {
    for (const std::u16string& text : SplitSource(platform::toUtf8(LispPathBuffer))) {
        bool interrupted = false;
        evaluate(text, error, &interrupted);
        if (interrupted) break;
    }
}

bool InterpreterSession::EvalString(std::u16string& buffer) {
    Cell value;
    return evalCell(buffer, value);
}

bool InterpreterSession::evalCell(std::u16string& buffer, Cell& value) {
    ErrorBuffer error;
    value = evaluate(buffer, error);
    if (error.empty()) guarded(error, [&] { buffer = PrintCell(value); });
    if (error.empty()) return true;
    buffer = error.text();
    return false;
}

void InterpreterSession::evaluateInto(std::u16string& first, std::u16string& second,
                                      std::u16string (*convert)(const Cell&)) {
    ErrorBuffer error;
    const Cell value = evaluate(first, error);
    std::u16string converted;
    std::u16string printed;
    if (error.empty())
        guarded(error, [&] {
            converted = convert(value);
            printed = PrintCell(value);
        });
    if (!error.empty()) {
        first = u"nil";
        return;
    }
    first = std::move(converted);
    second = std::move(printed);
}

void InterpreterSession::EvalStringToPoint(std::u16string& first, std::u16string& second) {
    evaluateInto(first, second, PointText);
}

void InterpreterSession::EvalStringToText(std::u16string& first, std::u16string& second) {
    evaluateInto(first, second, CellText);
}

void InterpreterSession::EvalStringToFlatList(std::u16string& first, std::u16string& second) {
    evaluateInto(first, second, FlatListText);
}

std::u16string FlatListText(const Cell& value) {
    std::u16string out;
    for (const Cell& element : value.items()) {
        if (element.is(CellType::List)) {
            for (const Cell& inner : element.items()) {
                printTo(out, inner);
                out += u' ';
            }
        } else if (element.is(CellType::EntityName)) {
            out += element.text();
            out += u' ';
        }
    }
    if (out.ends_with(u' ')) out.pop_back();
    return out;
}

}  // namespace vlisp
