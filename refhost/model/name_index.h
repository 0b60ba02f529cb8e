// Names without regard to case: comparing them, and finding their places in a table.
// One idea: the index is filled from the table when it is first asked, and again after it was told
// that the table has changed.
// Tests: tests/refhost/drawing_test.cpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vlisp::refhost {

/// Whether two names are the same without regard to case.
[[nodiscard]] bool sameName(std::u16string_view a, std::u16string_view b) noexcept;

/// Hash and equality of names without regard to case, for hash tables.
struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::u16string_view name) const noexcept;
};
struct NameEqual {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
        return sameName(a, b);
    }
};

/// Places of names in a table. Of two rows with one name the first counts.
class NameIndex {
  public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    void tableChanged() noexcept { filled_ = false; }

    /// The row of `name` in `table`; `nameOf(row)` is a row's name.
    template <class Table, class NameOf>
    std::size_t find(const Table& table, std::u16string_view name, NameOf nameOf) {
        if (!filled_) {
            places_.clear();
            for (std::size_t i = 0; i < table.size(); ++i) places_.emplace(nameOf(table[i]), i);
            filled_ = true;
        }
        const auto found = places_.find(name);
        return found == places_.end() ? none : found->second;
    }

  private:
    std::unordered_map<std::u16string, std::size_t, NameHash, NameEqual> places_;
    bool filled_ = false;
};

}  // namespace vlisp::refhost
