// Reduction of programs. See reduction.h.
#include "tests/reference/reduction.h"

#include "core/printer.h"
#include "core/reader.h"
#include "platform/text.h"

namespace vlisp::reference {
namespace {

// An expression that can be changed.
struct Tree {
    bool isList = false;
    std::string atom;
    std::vector<Tree> items;
};

Tree treeOf(const Cell& cell) {
    Tree tree;
    tree.isList = cell.is(CellType::List);
    if (!tree.isList) tree.atom = platform::toUtf8(PrintCell(cell));
    for (const Cell& item : cell.items()) tree.items.push_back(treeOf(item));
    return tree;
}

std::string textOf(const Tree& tree) {
    if (!tree.isList) return tree.atom;
    std::string out = "(";
    for (const Tree& item : tree.items) {
        if (out.size() > 1) out += ' ';
        out += textOf(item);
    }
    return out + ")";
}

// All lists of the tree; what is in a list follows it.
void collectLists(Tree& tree, std::vector<Tree*>& lists) {
    if (!tree.isList) return;
    lists.push_back(&tree);
    for (Tree& item : tree.items) collectLists(item, lists);
}

// The trees that `list` may become: each of its items, or itself without one of them.
std::vector<Tree> smallerThan(const Tree& list) {
    std::vector<Tree> smaller = list.items;
    for (std::size_t i = 0; i < list.items.size(); ++i) {
        Tree without = list;
        without.items.erase(without.items.begin() + static_cast<std::ptrdiff_t>(i));
        smaller.push_back(std::move(without));
    }
    return smaller;
}

class Reducer {
  public:
    Reducer(Program program, const std::function<bool(const Program&)>& fails)
        : program_(std::move(program)), fails_(fails) {}

    Program reduce() {
        bool changed = true;
        while (changed) {
            changed = dropExpressions();
            for (std::size_t i = 0; i < program_.expressions.size(); ++i)
                if (reduceExpression(i)) changed = true;
        }
        return program_;
    }

  private:
    // From the end: what comes late is seldom needed.
    bool dropExpressions() {
        bool changed = false;
        for (std::size_t i = program_.expressions.size(); i > 0; --i) {
            Program without = program_;
            without.expressions.erase(without.expressions.begin() +
                                      static_cast<std::ptrdiff_t>(i - 1));
            if (accept(std::move(without))) changed = true;
        }
        return changed;
    }

    bool reduceExpression(std::size_t i) {
        Tree tree = treeOf(Parse(platform::fromUtf8(program_.expressions[i])));
        bool changed = false;
        while (reduceOnce(i, tree)) changed = true;
        return changed;
    }

    // Makes one list of the tree smaller.
    bool reduceOnce(std::size_t i, Tree& tree) {
        for (std::size_t k = 0;; ++k) {
            // Collected anew each time: what was tried has moved the lists about.
            std::vector<Tree*> lists;
            collectLists(tree, lists);
            if (k >= lists.size()) return false;
            const Tree whole = *lists[k];
            for (Tree& smaller : smallerThan(whole)) {
                *lists[k] = std::move(smaller);
                Program changed = program_;
                changed.expressions[i] = textOf(tree);
                if (accept(std::move(changed))) return true;
            }
            *lists[k] = whole;
        }
    }

    bool accept(Program smaller) {
        if (!fails_(smaller)) return false;
        program_ = std::move(smaller);
        return true;
    }

    Program program_;
    const std::function<bool(const Program&)>& fails_;
};

}  // namespace

Program reduced(Program program, const std::function<bool(const Program&)>& fails) {
    return Reducer(std::move(program), fails).reduce();
}

}  // namespace vlisp::reference
