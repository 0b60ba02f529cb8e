// A budget of the heap that lives as long as a test.
#pragma once

#include "core/heap.h"

#include <cstddef>

namespace vlisp::test {

/// For as long as it lives, the heap grants no more than `bytes`.
class HeapLimit {
  public:
    explicit HeapLimit(std::size_t bytes) : before_(heap::limit()) { heap::setLimit(bytes); }
    HeapLimit(const HeapLimit&) = delete;
    HeapLimit& operator=(const HeapLimit&) = delete;
    ~HeapLimit() { heap::setLimit(before_); }

  private:
    std::size_t before_;
};

}  // namespace vlisp::test
