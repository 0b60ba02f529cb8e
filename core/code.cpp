// Code as an object, and as people read it. See code.h.
#include "core/code.h"

#include "core/intrinsics.h"
#include "core/native_code.h"
#include "core/printer.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <iterator>
#include <string_view>

namespace vlisp {
namespace {

struct OperationRow {
    const char* name;
    std::string_view operands;
};

constexpr OperationRow operations[] = {
#define VLISP_ROW(name, operands) {#name, operands},
    VLISP_OPERATIONS(VLISP_ROW)
#undef VLISP_ROW
};

bool isJump(std::string_view operands) { return operands.find('@') != std::string_view::npos; }

void appendAscii(std::u16string& out, std::string_view text) {
    out.append(text.begin(), text.end());
}

void appendNumber(std::u16string& out, std::int64_t number) { printInteger(out, number); }

}  // namespace

Code::Code() : HeapObject(ObjectKind::code) { blocks.push_back(std::make_unique<Block>()); }
Code::~Code() = default;

Ref<Code> Code::make() { return Ref(new (heap::allocate(sizeof(Code))) Code()); }

void Code::reset() noexcept {
    detours.clear();
    blocks.resize(1);
    blocks[0]->instructions.clear();
    blocks[0]->shortWays.clear();
    constants.clear();
    names.clear();
    parts.clear();
    shape = {};
    parameters = slots = registers = 0;
    namesInRegisters = isFunction = callsPlainly = false;
    firstTemporary = 0;
    entry = nullptr;
    parameterSlots.clear();
    native.reset();
    nativeEntry = nullptr;
    turns = 0;
}

ShortWay& Code::shortWayAt(const Instruction* at, std::size_t& block) noexcept {
    const auto holds = [at](const Block& each) {
        const Instruction* begin = each.instructions.data();
        return std::less_equal<>()(begin, at) &&
               std::less<>()(at, begin + each.instructions.size());
    };
    block = 0;
    if (!holds(*blocks[0])) {
        const auto behind = detours.upper_bound(at);
        assert(behind != detours.begin() && "an instruction of no block");
        block = std::prev(behind)->second;
    }
    Block& home = *blocks[block];
    assert(holds(home) && "an instruction of no block");
    const auto index = static_cast<std::uint32_t>(at - home.instructions.data());
    const auto next = std::ranges::upper_bound(home.shortWays, index, {}, &ShortWay::first);
    assert(next != home.shortWays.begin());
    return *(next - 1);
}

std::string_view operandsOf(Op op) noexcept {
    return operations[static_cast<std::size_t>(op)].operands;
}

std::u16string shortPrint(const Cell& cell) {
    constexpr std::size_t longest = 60;
    std::u16string text = PrintCell(cell);
    if (text.size() > longest) text = text.substr(0, longest) + u"...";
    return text;
}

std::u16string describe(const Code& code, const Block& block, std::size_t at) {
    const Instruction& instruction = block.instructions[at];
    const OperationRow& row = operations[static_cast<std::size_t>(instruction.op)];
    std::u16string out;
    appendAscii(out, row.name);
    for (const char operand : row.operands) {
        if (operand == ' ') continue;
        if (operand != '!') out += u' ';
        switch (operand) {
        case 'a': out += u'r', appendNumber(out, instruction.a); break;
        case 'b': out += u'r', appendNumber(out, instruction.b); break;
        case 'c': out += u'r', appendNumber(out, instruction.c); break;
        case 'x': appendNumber(out, instruction.x); break;
        case 'n': appendNumber(out, instruction.b); break;
        case 'd': appendAscii(out, "scope "), appendNumber(out, instruction.b); break;
        case 's': appendAscii(out, "slot "), appendNumber(out, instruction.c); break;
        case 'X': out += u'r', appendNumber(out, instruction.x); break;
        case 'I':
            appendAscii(out, intrinsics::nameOf(static_cast<Intrinsic>(instruction.x)));
            break;
        case 'K': out += shortPrint(code.constants[instruction.x]); break;
        case 'N': out += textOf(code.names[instruction.x].get()); break;
        case '@':
            appendAscii(out, "-> ");
            appendNumber(out, static_cast<std::int64_t>(at) + instruction.y);
            break;
        case '!': {
            const auto guard = isJump(row.operands) ? instruction.a : instruction.y;
            if (guard == 0) break;
            appendAscii(out, "  ! ");
            appendAscii(out, intrinsics::nameOf(static_cast<Intrinsic>(guard)));
            break;
        }
        default: break;
        }
    }
    return out;
}

std::u16string describe(const Code& code) {
    std::u16string out;
    for (std::size_t number = 0; number < code.blocks.size(); ++number) {
        const Block& block = *code.blocks[number];
        if (number > 0) {
            appendAscii(out, "  the long way ");
            appendNumber(out, static_cast<std::int64_t>(number));
            out += u'\n';
        }
        for (std::size_t at = 0; at < block.instructions.size(); ++at) {
            std::u16string place;
            appendNumber(place, static_cast<std::int64_t>(at));
            out.append(place.size() < 6 ? 6 - place.size() : 0, u' ');
            out += place;
            appendAscii(out, "  ");
            out += describe(code, block, at);
            out += u'\n';
        }
    }
    return out;
}

}  // namespace vlisp
